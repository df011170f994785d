#include "vek/config_schema.h"
