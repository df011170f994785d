// The messages of position control that list positions.
#pragma once

#include "vek/groups.h"

// Logs "Arm0: EVENT {q1,…}" with the first `axes` (7, 6 or 2) of `positions`, ju.
void LogPositions(const GroupRow& group, const char* event, int axes, const double* positions);
