#include "tools/operations_page.h"

#include <algorithm>
#include <span>

#include "tools/text.h"
#include "vek/operation_table.h"

namespace {

constexpr char kIntroduction[] = R"(# Operations

Operators and service tools ask Vek for one operation at a time through the mailbox at offset 3098 of
the Udp area (`mailbox` in [`vek/shared_areas.h`](../vek/shared_areas.h)). `vekctl op COMMAND` does all
of the following for every command named here. This page is what `vekctl ops --markdown` prints: it
is made from the very table from which Vek takes its checks and messages.

## How to ask

| Field | Type | Written by | Meaning |
|---|---|---|---|
| `op_code` | i16 | front, then vek | the code; 0: the mailbox is free |
| `op_text` | char[30] | both | an argument, or a result: at most 29 characters |
| `op_value` | i32 | both | an argument, or a result |
| `op_float` | f32 | both | an argument, or a result |
| `op_seq` | u16 | front | any number, a new one for each operation |
| `op_reply` | u16 | vek | `op_seq` + status, which wraps at 16 bits |

1. Wait until `op_code` is 0. Write the arguments, then `op_seq`, then `op_code` (release).
2. Vek executes the operation in its main thread, usually within about a millisecond. There is no
   queue, and no time limit: while servos are waited for, or a reboot, nothing else is answered.
3. Wait until `op_code` is 0 **and** `op_reply` is no longer what it was: the two are written in
   either order (`op_reply` first, but by parameter operations last). `op_reply` - `op_seq` is the
   status. Then take the result.

Negative codes are ignored and stay; a positive one without an operation ends with status 99.

| Status | Meaning |
|---|---|
| 0 | done |
| 99 | there is no such code |
| 100 | rejected before anything was done |
| 200 | executed, and failed |
| 300 | failed in the stage that is named |

Messages go to the log. *user N* is the numbered message N with its arguments; the others are free
texts. Words in capitals stand for what differs: GROUP for Arm0, Arm1, Head, Body or Lift, NAME for
the operation's name. A dash is a message that ends nothing, so that it has no status.
)";

constexpr char kParametersText[] = R"(
## Parameters

`op_text` holds a parameter's full name `SECTION.KEY`, split at its **last** dot; afterwards it holds
the section, or the result. Reading and setting go to the document that Vek loaded at its start and,
for setting, to the live configuration word at once; the file changes only when it is saved. A key
that is absent from a section that is there is no error: it reads as 0 or the empty text, and setting
it changes nothing.

A text that is read has no limit but the end of the Udp area, 996 bytes from `op_text` on. One of 30
characters or more runs on over `op_value`, `op_float`, `op_seq` and `op_reply`. The reply is formed
with what then stands in `op_seq`, and written over characters 41 and 42 of the text. So a requester of
a text takes `op_code` 0 as the end, and the status as `op_reply` - `op_seq` as both stand a moment
later.
)";

constexpr char kSystemText[] = R"(
## The system
)";

constexpr char kGroupsText[] = R"(
## The groups

The code of group g (0 Arm0, 1 Arm1, 2 Head, 3 Body, 4 Lift) counts from 100 * (g + 1). Axes are those
that the group's axis count in the Mac area has, 8 at most; bit j of a mask is axis j.

A *servo command* goes into the `servo_cmd` words of the axes, and Vek waits, looking every 10 ms, until
no word of the group is positive any more. The servo task answers 0, or a negative number for a
failure. So a failure left behind on an axis that was not addressed makes an operation fail, too. The
wait has no limit, but a Vek that is told to end gives it up as failed.

Beside the messages below, a busy servo logs `BUSY` (WARN), and a failure `FAILED` (WARN) with the
number of negative words, unless the wait was given up.
)";

std::string Replace(std::string text, std::string_view from, std::string_view to) {
  const std::size_t at = text.find(from);
  return at == text.npos ? text : text.replace(at, from.size(), to);
}

// A format with words in place of its conversions.
std::string Fill(std::string_view format, std::span<const std::string> words) {
  std::string text;
  for (std::size_t k = 0; !format.empty(); ++k) {
    const std::size_t percent = std::min(format.find('%'), format.size());
    text += format.substr(0, percent);
    format.remove_prefix(percent);
    const std::size_t letter = format.find_first_of("sdfx");
    if (letter == format.npos) return text.append(format);
    text += k < words.size() ? words[k] : "?";
    format.remove_prefix(letter + 1);
  }
  return text;
}

std::vector<std::string> ArgumentWords(const OperationMessage& message) {
  std::vector<std::string> words;
  for (const std::string_view word : Words(message.text.arguments)) {
    if (word == "GROUP" && message.group_name != nullptr) {
      words.emplace_back(message.group_name);
    } else {
      words.push_back(Text(word, word == "NAME" ? message.name_suffix : ""));
    }
  }
  return words;
}

std::string MessageText(const OperationMessage& message) {
  const OperationText& text = message.text;
  if (text.level == OperationText::Level::None) return "nothing";
  const char* level = text.level == OperationText::Level::Info ? "INFO" : "WARN";
  std::vector<std::string> words = ArgumentWords(message);
  if (text.format != nullptr) {
    words.insert(words.begin(), kOperationLogPrefix);
    return Text(level, " `", Fill(text.format, words), '`');
  }
  std::string listed;
  for (const std::string& word : words) listed += Text(listed.empty() ? ": " : ", ", word);
  return Text(level, " *user ", text.user_code, '*', listed);
}

// "Arm0, Body"; empty when that says nothing because all groups of the operation are meant.
std::string GroupList(unsigned groups, unsigned all) {
  if ((groups & all) == all) return "";
  std::string list;
  for (const GroupRow& group : kGroups) {
    if ((groups & all) >> group.index & 1) list += Text(list.empty() ? "" : ", ", group.name);
  }
  return list;
}

bool EndsOperation(OperationEvent event) {
  return event != OperationEvent::Started && event != OperationEvent::Skipped;
}

void AppendMessages(std::string& page, const OperationRow& row) {
  page += "\n| When | Status | Message |\n|---|---|---|\n";
  bool has_done = false;
  for (const OperationMessage& message : row.messages) {
    if (row.groups != 0 && (message.groups & row.groups) == 0) continue;
    has_done |= message.event == OperationEvent::Done;
    const std::string groups = row.groups == 0 ? "" : GroupList(message.groups, row.groups);
    page += Text("| ", message.when, groups.empty() ? "" : " (" + groups + ")", " | ",
                 EndsOperation(message.event) ? std::to_string(message.status) : "-", " | ",
                 MessageText(message), " |\n");
  }
  if (!has_done) page += "| done | 0 | nothing |\n";
}

// A list item of what there is to say, nothing for nothing.
void AppendItem(std::string& page, std::string_view title, const std::string& text) {
  if (!text.empty()) page += Text("- ", title, ": ", text, '\n');
}

std::string Arguments(const OperationRow& row) {
  std::string text;
  const auto add = [&](const auto&... parts) { text += Text(text.empty() ? "" : "; ", parts...); };
  if (row.text != nullptr) add("`op_text`, ", row.text);
  if (row.takes_float) add("`op_float`, the value");
  switch (row.value) {
    case OperationValue::None:
      break;
    case OperationValue::Number:
      add("`op_value`, ", row.value_meaning);
      break;
    case OperationValue::AxisMask:
      add("`op_value`, axis mask: ", row.value_meaning);
      break;
    case OperationValue::Index:
      add("`op_value`, ", row.value_meaning, " 0..", row.index_limit - 1);
      break;
  }
  return text;
}

std::string Result(const OperationRow& row) {
  constexpr const char* kFields[] = {"", "`op_value`, ", "`op_float`, ", "`op_text`, "};
  if (row.result == OperationResult::None) return "";
  return Text(kFields[static_cast<std::size_t>(row.result)], row.result_meaning);
}

std::string Precondition(const OperationRow& row) {
  std::string text = row.precondition;
  const auto add = [&](const auto&... parts) { text += Text(text.empty() ? "" : "; ", parts...); };
  if (row.required_state != kAnyState) {
    add("`group_state` is ", row.required_state, " (",
        GroupStateName(kGroups[0], row.required_state), ')');
  }
  if (row.stages[0].command != 0) add("no servo of the group is busy");
  return text;
}

std::string ServoCommand(const OperationRow& row) {
  std::string text;
  for (const ServoStage& stage : row.stages) {
    if (stage.command != 0) text += Text(text.empty() ? "" : ", then ", stage.command);
  }
  switch (row.target) {
    case ServoTarget::None:
      return "";
    case ServoTarget::AllAxes:
      return text + " to all axes";
    case ServoTarget::MaskedAxes:
      return text + " to the axes of the mask";
    case ServoTarget::MaskedIdleAxes:
      return text + " to the axes of the mask, but for enabled ones";
    case ServoTarget::AddressedSensor:
      return text + " in the word of the sensor's number, then the offset in `sensor_offset_arg`";
  }
  return text;
}

std::string CodeText(int first, int count) {
  return count == 1 ? std::to_string(first) : Text(first, "..", first + count - 1);
}

void AppendCodes(std::string& page, const OperationRow& row) {
  page += "\n| Code | Name | Command |\n|---|---|---|\n";
  for (const Operation& operation : AllOperations()) {
    if (operation.row != &row || operation.sensor != 0) continue;
    const std::string name = operation.Name();
    page += Text("| ", CodeText(operation.Code(), row.count), " | ",
                 name.empty() ? "" : "`" + name + "`", " | `", operation.Command(), "` |\n");
  }
}

// The command without its group.
std::string Heading(const OperationRow& row) {
  const auto all = AllOperations();
  const auto& first =
      *std::find_if(all.begin(), all.end(), [&](const Operation& o) { return o.row == &row; });
  const std::string command = first.Command();
  return row.groups == 0 ? command : command.substr(first.group->key.size() + 1);
}

void AppendRow(std::string& page, const OperationRow& row) {
  // An operation that the groups have in two ways is told twice.
  const bool only_lift = row.groups == 1U << (kGroupCount - 1);
  page += Text("\n### ", Heading(row), only_lift ? " of the lift" : "", "\n\n", row.about, "\n\n");
  AppendItem(page, "Argument", Arguments(row));
  AppendItem(page, "Required", Precondition(row));
  AppendItem(page, "Servo command", ServoCommand(row));
  AppendItem(page, "Result", Result(row));
  AppendCodes(page, row);
  AppendMessages(page, row);
}

void AppendFamily(std::string& page, const std::string& introduction, OperationFamily family) {
  page += introduction;
  for (const OperationRow& row : OperationRows(family)) AppendRow(page, row);
}

std::string GroupsIntroduction() {
  const std::string busy = Fill(kServoBusyText, std::vector<std::string>{"AXIS"});
  const std::string failed = Fill(kServosFailedText, std::vector<std::string>{"N"});
  return Replace(Replace(kGroupsText, "BUSY", busy), "FAILED", failed);
}

}  // namespace

std::string OperationsPage() {
  std::string page = kIntroduction;
  AppendFamily(page, kParametersText, OperationFamily::Parameter);
  AppendFamily(page, kSystemText, OperationFamily::System);
  AppendFamily(page, GroupsIntroduction(), OperationFamily::Group);
  return page;
}
