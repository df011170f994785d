#include "cuter/ccuter50.h"
