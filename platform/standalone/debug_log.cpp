#include "platform/debug_log.h"

#include <atomic>
#include <cstdarg>

#include "platform/standalone/log_catalogue.h"
#include "platform/standalone/log_drain.h"

namespace {

using logging::Level;
using logging::Origin;

// The process's one client was initialised.
std::atomic<bool> g_client_open{false};

void post_text(Level level, const char* format, std::va_list list) {
  if (!g_client_open.load(std::memory_order_relaxed)) return;
  logging::post({.level = level}, format, list);
}

void post_user(Level level, int code, std::va_list list) {
  if (!g_client_open.load(std::memory_order_relaxed)) return;
  const char* const format = logging::user_message_format(code);
  logging::post({.level = level, .origin = Origin::kUser, .code = code},
                format != nullptr ? format : "unknown message", list);
}

}  // namespace

DebugLogSrv::~DebugLogSrv() {
  if (started_) logging::stop_drain();
}

bool DebugLogSrv::OnInit(SysInfo* sys) {
  if (sys == nullptr) return false;
  started_ = logging::start_drain();
  return started_;
}

bool DebugLogClt::OnInit(LogModule, SysInfo* sys, CfgConfig* cfg) {
  if (sys == nullptr || cfg == nullptr) return false;
  g_client_open.store(true, std::memory_order_relaxed);
  return true;
}

void DebugLogClt::INFO_LOG(const char* format, ...) {
  std::va_list list;
  va_start(list, format);
  post_text(Level::kInfo, format, list);
  va_end(list);
}

void DebugLogClt::WARN_LOG(const char* format, ...) {
  std::va_list list;
  va_start(list, format);
  post_text(Level::kWarn, format, list);
  va_end(list);
}

void DebugLogClt::ERROR_LOG(const char* format, ...) {
  std::va_list list;
  va_start(list, format);
  post_text(Level::kError, format, list);
  va_end(list);
}

void DebugLogClt::INFO_USER(int code, ...) {
  std::va_list list;
  va_start(list, code);
  post_user(Level::kInfo, code, list);
  va_end(list);
}

void DebugLogClt::WARN_USER(int code, ...) {
  std::va_list list;
  va_start(list, code);
  post_user(Level::kWarn, code, list);
  va_end(list);
}

void DebugLogClt::ERROR_USER(int code, ...) {
  std::va_list list;
  va_start(list, code);
  post_user(Level::kError, code, list);
  va_end(list);
}
