#include "vek/vek.h"
