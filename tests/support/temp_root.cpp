#include "tests/support/temp_root.h"
