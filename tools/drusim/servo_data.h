// What the servo side publishes once, when it is switched on: versions, serial numbers, texts.
#pragma once

#include "vek/groups.h"

// Sensors and servos of a group; each value differs from all others.
void PublishServoData(unsigned char* sys, const GroupRow& group);
void PublishLiftOffsets(unsigned char* mac);
