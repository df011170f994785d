#include "ini/ini_parser.h"
