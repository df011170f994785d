// The process's log: the queue that every thread fills and the thread that writes its messages.
#pragma once

#include <cstdarg>

#include "platform/standalone/log_record.h"

namespace logging {

// Opens the log and starts the drain; true when it runs already. Plain threads, one at a time. The
// thread that starts it makes room in a full queue from then on, by writing what is queued.
bool start_drain();
// Writes everything that is queued and ends the drain; nothing when it does not run. A message that
// is posted afterwards is discarded. Happens by itself at exit().
void stop_drain();
// Writes everything that was posted before the call. Plain threads.
void flush();

// What a message is, beside its text.
struct Header {
  Level level = Level::kInfo;
  Origin origin = Origin::kFree;
  int code = 0;
};

// Queues a message; discards it while the drain does not run. Any thread; real-time safe but on the
// one that started the drain.
void post(Header header, const char* format, std::va_list list);

}  // namespace logging
