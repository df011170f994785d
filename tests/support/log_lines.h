// What the process has logged.
#pragma once

#include <string>
#include <vector>

// Starts logging into a file of its own (VEK_LOG) through g_log_clt; once a process, after the
// TempRoot.
void StartTestLog();
// The lines so far that contain `text`, without their time stamps: "WARN  text". Waits until
// everything queued is written.
std::vector<std::string> LogLines(const std::string& text = "");
