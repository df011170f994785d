#include "vek/position_messages.h"

#include "platform/debug_log.h"

void LogPositions(const GroupRow& group, const char* event, int axes, const double* positions) {
  const double* p = positions;
  if (axes == 7) {
    g_log_clt.INFO_LOG("%s: %s {%lf,%lf,%lf,%lf,%lf,%lf,%lf}", group.name, event, p[0], p[1], p[2],
                       p[3], p[4], p[5], p[6]);
  } else if (axes == 6) {
    g_log_clt.INFO_LOG("%s: %s {%lf,%lf,%lf,%lf,%lf,%lf}", group.name, event, p[0], p[1], p[2],
                       p[3], p[4], p[5]);
  } else {
    g_log_clt.INFO_LOG("%s: %s {%lf,%lf}", group.name, event, p[0], p[1]);
  }
}
