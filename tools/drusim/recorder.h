// Writes consumed frames into a file, by a thread of its own: the cycle hands a row over and goes
// on.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "vek/frame.h"
#include "vek/groups.h"

class Recorder {
 public:
  // Creates the file and writes the header row; a Failure (status 2) when it cannot.
  Recorder(std::string file, std::vector<const GroupRow*> groups);
  ~Recorder();
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  // Hands over the frame of one group in the present cycle; groups that are not recorded are
  // ignored.
  void Take(const GroupRow& group, const Frame& frame);
  // Ends the cycle: its row, if there is one, goes to the thread.
  void EndCycle(std::int64_t time_ns);
  // Waits until the next row has room; for a cycle that has the time.
  void AwaitRoom() const;
  // Writes what is left and closes; empty, or what went wrong.
  std::string Finish();

 private:
  struct Row {
    std::int64_t time_ns = 0;
    unsigned groups = 0;  // bit k: frame k is valid
    Frame frames[kGroupCount];
  };

  bool HasRoom() const;
  void Run();
  void AppendRow(const Row& row);
  void WriteText();

  std::string file_;
  std::vector<const GroupRow*> groups_;
  std::FILE* out_ = nullptr;
  // Rows between the cycle and the thread: a fixed array and two counters that only grow.
  std::vector<Row> rows_;
  std::atomic<std::uint32_t> written_{0};  // by the cycle; release: the row is complete
  std::atomic<std::uint32_t> taken_{0};    // by the thread; release: the slot may be used again
  std::atomic<bool> stop_{false};
  Row row_;  // of the present cycle
  long lost_ = 0;
  bool failed_ = false;  // owned by the thread until it has ended
  std::string text_;
  std::thread thread_;
};
