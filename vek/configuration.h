// Loading robot.ini into the configuration area.
#pragma once

#include "ini/ini_parser.h"
#include "vek/shared_areas.h"

// Loads robot.ini into `ini` and each of its values into the word of `cfg` that belongs to the key,
// and binds the key to that word, so that setting the key writes the word too; `ini` must not
// outlive `cfg`. True, with the load-complete flag 1, when every known section was whole. False
// otherwise, with its message: the flag is 0, what was read before stays. Values are taken as
// written, unchecked. Main thread, before the real-time task; nothing throws.
// `has_document`: whether the file could be read.
bool LoadRobotConfiguration(IniParser& ini, CfgConfig* cfg, bool* has_document);
