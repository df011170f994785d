// What the configuration says about a group's axes.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "vek/frame.h"
#include "vek/groups.h"

struct GroupLimits {
  std::size_t dof = 0;  // 0..8
  Axes pos_min;         // ju
  Axes pos_max;
  Axes vel_max;  // ju/s, at 100 %
  Axes acc_max;  // ju/s^2
};

// Out of a CfgConfig area or image.
GroupLimits ReadGroupLimits(const void* cfg, const GroupRow& group);

// The same of a running Vek; a Failure (status 1) when it has no complete configuration.
GroupLimits ReadLoadedLimits(const void* cfg, const GroupRow& group);

// `limit` scaled by a percent word, as Vek scales it on entry into POSITION.
Axes ScaleLimits(const Axes& limit, float percent);

// The CfgConfig image that a robot.ini describes, numbers only; a Failure (status 1) that names the
// file, and section and key when one is missing.
std::vector<unsigned char> ReadConfigImage(const std::string& file);
