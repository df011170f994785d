// Calls of the host: paths, shell, clock, devices. Plain threads only, never the real-time cycle.
// Results and errno are those of the Linux calls of the same name.
#pragma once

#include <sys/time.h>

#include <cstddef>
#include <cstdio>
#include <string>

// Where a path of the controller ("/dev/ZQMac") lies on this machine. Messages show the path as
// given, not this.
std::string host_path(const char* path);

// Runs a command in the shell.
int host_system(const char* command);
// Runs a command and reads its output; close with host_pclose.
FILE* host_popen(const char* command);
int host_pclose(FILE* stream);

int host_settimeofday(const timeval* now);
int host_gettimeofday(timeval* now);
// Sleeps; may return early on a signal.
void host_usleep(unsigned microseconds);

// Devices, by their path on the controller.
int host_open(const char* path, int flags);
int host_ioctl(int fd, unsigned long request, void* argument);
int host_close(int fd);
