// The operation mailbox: not served yet.
#include "vek/vek.h"

void Vek::OnProcessOp() {}
