// The logging service. Any thread of the process may log, the real-time task included: a call
// copies the format pointer and the arguments and returns; it never blocks, allocates or fails.
// What cannot be kept is counted and reported.
#pragma once

struct SysInfo;
struct CfgConfig;

enum LogModule : int { LOG_MODULE_VEK = 0 };

// Writes what the clients of this process log, from a thread of its own.
class DebugLogSrv {
 public:
  DebugLogSrv() = default;
  // Writes everything that is still queued.
  ~DebugLogSrv();
  DebugLogSrv(const DebugLogSrv&) = delete;
  DebugLogSrv& operator=(const DebugLogSrv&) = delete;

  // Starts the service; false when `sys` is null or the log cannot be opened.
  bool OnInit(SysInfo* sys);

 private:
  bool started_ = false;
};

class DebugLogClt {
 public:
  // Takes up logging under the given module; false when an address is null. Messages before that
  // are discarded.
  bool OnInit(LogModule module, SysInfo* sys, CfgConfig* cfg);

  // Free texts, printf formats. The format must outlive the process's last message (a literal); a
  // text argument is copied.
  void INFO_LOG(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void WARN_LOG(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void ERROR_LOG(const char* format, ...) __attribute__((format(printf, 2, 3)));

  // Numbered user messages. The service's catalogue holds each code's text and the types of its
  // arguments: texts are const char*, numbers and masks 32-bit.
  void INFO_USER(int code, ...);
  void WARN_USER(int code, ...);
  void ERROR_USER(int code, ...);
};

// The process's one client; defined by the program.
extern DebugLogClt g_log_clt;
