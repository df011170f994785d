// A picture of what a flexible tip does.
#pragma once

#include <string>
#include <vector>

#include "tools/vekctl/flexible_tip.h"
#include "vek/groups.h"

struct TipRecording {
  std::string file;
  double period_s = 0;
  std::vector<double> axis;  // positions, ju
  TipMotion motion;
};

// Draws position and deviation over the time since each motion's begin; `axis` from 1.
void PlotTips(const std::vector<TipRecording>& tips, const GroupRow& group, int axis,
              const std::string& output);
