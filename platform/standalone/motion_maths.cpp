#include "platform/shared_access.h"
