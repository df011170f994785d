#include "ini/ini_section.h"
