// A Vek with its mailbox: the test is the front end, and a thread the servo task.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <functional>
#include <thread>

#include "platform/standalone/log_catalogue.h"
#include "tests/vek/vek_rig.h"

using Lines = std::vector<std::string>;

// Word of an area, by its offset as other processes know it.
template <class T>
T& Word(void* area, std::size_t offset) {
  return *reinterpret_cast<T*>(static_cast<char*>(area) + offset);
}

struct OperationRig : VekRig {
  static constexpr std::size_t kCode = 3098, kText = 3100, kValue = 3130, kFloat = 3134,
                               kSeq = 3138, kReply = 3140;

  // A servo wait that runs away ends the process, not the patience.
  OperationRig() { alarm(100); }

  // With more in robot.ini than the sample has.
  void Start(const std::string& section = "") {
    root.Write("/home/QUARLE/Config/cfg/robot.ini", Ini() + section);
    EXPECT_TRUE(Init());
    TakeLog();
  }

  template <class T>
  T Get(std::size_t offset) const {
    return shared::load<T>(udp, {offset});
  }
  // op_text up to its end.
  std::string Text() const {
    std::string text(30, '\0');
    shared::read_bytes(text.data(), static_cast<char*>(udp) + kText, text.size());
    return text.c_str();
  }

  // Executes an operation and gives its status. All fields behind op_text are set, so that a text
  // of 30 characters has no end.
  int Run(int code, int value = 0, const std::string& text = "", float number = 1.5F) {
    char bytes[30] = {};
    text.copy(bytes, sizeof bytes);
    shared::write_bytes(static_cast<char*>(udp) + kText, bytes, sizeof bytes);
    shared::store<std::int32_t>(udp, {kValue}, value);
    shared::store<float>(udp, {kFloat}, number);
    shared::store<std::uint16_t>(udp, {kSeq}, seq);
    shared::store_release<std::int16_t>(udp, {kCode}, static_cast<std::int16_t>(code));
    vek.OnProcessOp();
    EXPECT_EQ(Get<std::int16_t>(kCode), 0) << code;
    return static_cast<std::uint16_t>(Get<std::uint16_t>(kReply) - Get<std::uint16_t>(kSeq));
  }
  std::uint16_t seq = 65500;
  // Executes an operation that is to end with a status and these messages.
  void Check(int status, const Lines& lines, int code, int value = 0,
             const std::string& text = "") {
    SCOPED_TRACE(std::to_string(code) + " " + std::to_string(value) + " " + text);
    EXPECT_EQ(Run(code, value, text), status);
    EXPECT_EQ(TakeLog(), lines);
  }

  std::string Ini() const { return root.Read("/home/QUARLE/Config/cfg/robot.ini"); }
};

// The line of a user message.
template <class... Arguments>
std::string User(const char* level, int code, Arguments... arguments) {
  char text[500];
  std::snprintf(text, sizeof text, logging::user_message_format(code), arguments...,
                0);  // so that a text without arguments is no special case
  return std::string(level) + "[user " + std::to_string(code) + "] " + text;
}

// Takes the servo commands of a group while it lives, and answers each.
class ServoTask {
 public:
  using Command = std::pair<int, int>;  // axis, command

  ServoTask(VekRig& rig, const GroupRow& group, std::function<int(Command)> answer)
      : words_(reinterpret_cast<char*>(rig.sys) + 4000 * (group.index + 1) + 12),
        answer_(std::move(answer)),
        thread_([this](const std::stop_token& stop) {
          while (!stop.stop_requested()) Pass();
        }) {}
  // What was commanded.
  std::vector<Command> Finish() {
    thread_.request_stop();
    thread_.join();
    return commands_;
  }

 private:
  void Pass() {
    for (int axis = 0; axis < AREA_AXES; ++axis) {
      const shared::Field<std::int32_t> word{4 * static_cast<std::size_t>(axis)};
      const Command command{axis, shared::load_acquire(words_, word)};
      if (command.second <= 0) continue;
      commands_.push_back(command);
      shared::store_release(words_, word, answer_(command));
    }
    usleep(1000);
  }

  char* words_;
  std::function<int(Command)> answer_;
  std::vector<Command> commands_;
  std::jthread thread_;
};
