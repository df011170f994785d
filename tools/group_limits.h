// What the configuration says about a group's axes.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "vek/groups.h"

struct GroupLimits {
  std::size_t dof = 0;                    // 0..8
  std::array<double, AREA_AXES> pos_min;  // ju
  std::array<double, AREA_AXES> pos_max;
  std::array<double, AREA_AXES> vel_max;  // ju/s, at 100 %
  std::array<double, AREA_AXES> acc_max;  // ju/s^2
};

// Out of a CfgConfig area or image.
GroupLimits ReadGroupLimits(const void* cfg, const GroupRow& group);

// `limit` scaled by a percent word, as Vek scales it on entry into POSITION.
std::array<double, AREA_AXES> ScaleLimits(const std::array<double, AREA_AXES>& limit,
                                          float percent);

// The CfgConfig image that a robot.ini describes, numbers only; a Failure (status 1) that names the
// file, and section and key when one is missing.
std::vector<unsigned char> ReadConfigImage(const std::string& file);
