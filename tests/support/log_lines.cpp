#include "tests/support/log_lines.h"
