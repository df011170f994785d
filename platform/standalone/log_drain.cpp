#include "platform/standalone/log_drain.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <mutex>

#include "platform/standalone/clock.h"
#include "platform/standalone/lockstep.h"
#include "platform/standalone/log_queue.h"
#include "platform/standalone/log_writer.h"
#include "platform/standalone/platform_warning.h"

namespace logging {
namespace {

constexpr long kPollNs = 20'000'000;
constexpr std::size_t kStackSize = 256UL * 1024;
constexpr unsigned kHalfPostedRetries = 100;  // of a millisecond

// Never destroyed: other objects may log while the program ends.
struct Log {
  // Some seconds of a warning every cycle.
  BoundedQueue<Record, 1024> queue;
  std::atomic<unsigned> lost{0};
  std::atomic<bool> running{false};
  std::atomic<bool> stop{false};
  pthread_t thread{};
  pid_t owner = 0;     // a forked child has the data, but no drain
  std::mutex writing;  // the drain's passes and flushes; never taken by a real-time task
  LogWriter writer;
};
constinit Log g_log;

// Of the thread that started the drain: it makes room in a full queue rather than lose a message.
constinit thread_local bool t_has_time = false;

void sleep_ns(long ns) {
  const std::timespec pause{.tv_sec = 0, .tv_nsec = ns};
  nanosleep(&pause, nullptr);
}

void fill(Record& record, Header header, const char* format, std::va_list list) {
  record.stamp = standalone::wall_time();
  record.level = header.level;
  record.origin = header.origin;
  record.code = header.code;
  record.format = format;
  pack_arguments(record.arguments, format, list);
}

__attribute__((format(printf, 3, 4))) bool write_now(LogWriter& writer, Header header,
                                                     const char* format, ...) {
  Record record;
  std::va_list list;
  va_start(list, format);
  fill(record, header, format, list);
  va_end(list);
  return writer.Write(record);
}

void report_lost() {
  const unsigned lost = g_log.lost.load(std::memory_order_relaxed);
  if (lost != 0 &&
      write_now(g_log.writer, {.level = Level::kWarn}, "log: %u messages lost", lost)) {
    g_log.lost.fetch_sub(lost, std::memory_order_relaxed);
  }
}

// Writes what is queued, one queue full at most.
void write_queued() {
  const std::lock_guard<std::mutex> guard(g_log.writing);
  const auto write = [](const Record& record) {
    if (!g_log.writer.Write(record)) g_log.lost.fetch_add(1, std::memory_order_relaxed);
  };
  for (std::size_t k = 0; k < g_log.queue.capacity() && g_log.queue.Pop(write); ++k) {
  }
  report_lost();
}

void* drain(void*) {
  while (!g_log.stop.load(std::memory_order_acquire)) {
    sleep_ns(kPollNs);
    write_queued();
  }
  return nullptr;
}

// The drain never runs a signal handler of the program: it is created with all signals blocked.
bool create_thread() {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, kStackSize);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  const int error = pthread_create(&g_log.thread, &attributes, drain, nullptr);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  pthread_attr_destroy(&attributes);
  if (error == 0) pthread_setname_np(g_log.thread, "log");
  return error == 0;
}

}  // namespace

bool start_drain() {
  if (g_log.running.load(std::memory_order_acquire)) return true;
  const char* const file = std::getenv("VEK_LOG");
  if (!g_log.writer.Open(file != nullptr && *file != '\0' ? file : nullptr)) return false;
  g_log.queue.TouchAll();
  g_log.stop.store(false, std::memory_order_relaxed);
  if (!create_thread()) {
    g_log.writer.Close();
    return false;
  }
  t_has_time = true;
  g_log.owner = getpid();
  g_log.running.store(true, std::memory_order_release);
  static const bool at_exit = std::atexit(stop_drain) == 0;
  return at_exit;
}

void stop_drain() {
  if (!g_log.running.load(std::memory_order_acquire) || g_log.owner != getpid()) return;
  g_log.running.store(false, std::memory_order_release);
  g_log.stop.store(true, std::memory_order_release);
  pthread_join(g_log.thread, nullptr);
  for (unsigned k = 0; k < kHalfPostedRetries; ++k) {
    write_queued();
    if (g_log.queue.IsEmpty()) break;
    sleep_ns(1'000'000);
  }
  g_log.writer.Close();
}

void flush() {
  if (g_log.running.load(std::memory_order_acquire) && g_log.owner == getpid()) write_queued();
}

void post(Header header, const char* format, std::va_list list) {
  if (!g_log.running.load(std::memory_order_acquire)) return;
  const auto queued = [&] {
    return g_log.queue.Push([&](Record& record) { fill(record, header, format, list); });
  };
  if (queued()) return;
  // In simulated time nothing is late, and a message must not depend on the drain's pace.
  if (t_has_time || lockstep::active()) {
    write_queued();
    if (queued()) return;
  }
  g_log.lost.fetch_add(1, std::memory_order_relaxed);
}

void platform_warning(const char* format, ...) {
  const Header header{.level = Level::kWarn, .origin = Origin::kPlatform};
  std::va_list list;
  va_start(list, format);
  if (g_log.running.load(std::memory_order_acquire)) {
    post(header, format, list);
  } else {
    Record record;
    fill(record, header, format, list);
    LogWriter direct;
    direct.Open(nullptr);
    direct.Write(record);
  }
  va_end(list);
}

}  // namespace logging
