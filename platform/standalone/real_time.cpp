#include "platform/standalone/real_time.h"
