// The set channel (joint targets, speed and acceleration scales): not served yet.
#include "vek/vek.h"

void Vek::OnProcessUdpSet() {}
