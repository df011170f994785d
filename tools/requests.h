// What a front end asks of Vek through the shared areas.
#pragma once

#include "tools/waypoints.h"
#include "vek/groups.h"

// Asks for a state; Vek judges the request in its next cycle.
void RequestState(unsigned char* udp, const GroupRow& group, int state);

// Puts the waypoints into the group's block of the trajectory file.
void WriteTrajectory(unsigned char* trajbuf, const GroupRow& group, const Waypoints& waypoints);
// Starts the run of what was written; false when the group has a run already.
bool StartTrajectory(unsigned char* udp, const GroupRow& group);
// Asks a run that was started to stop; false when there is none.
bool StopTrajectory(unsigned char* udp, const GroupRow& group);
