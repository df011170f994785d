// What stands in for the host when a root is set: commands and clock changes are recorded in
// var/commands.log beneath the root and act there at most. Plain threads only.
#pragma once

#include <string>
#include <string_view>

namespace standalone {

// Whether VEK_FAIL (a list like "mount,popen") makes this call or command fail.
bool is_to_fail(std::string_view name);

// The name of the program that a command runs first.
std::string_view program_of(std::string_view command);

// Appends a line to the record; false and errno when that is impossible.
bool record(const std::string& line);

// Records a shell command and does what it would do to files beneath the root. The result is that
// of system(): an exit status, or -1 when the command could not be recorded.
int run_at_desk(const char* command);

}  // namespace standalone
