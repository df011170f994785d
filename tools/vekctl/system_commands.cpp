// Clock, network address, interface version and reboot.
#include <algorithm>

#include "tools/failure.h"
#include "tools/vekctl/operation_commands.h"

namespace {

int Get(const SystemOptions& options, OperationKind kind, const char* subject) {
  const OperationEnd end = AskFor(kind, {}, options);
  return Tell(options, end, TellingOf(end, subject, end.Result()));
}

std::string TextOf(const SystemOptions& options) {
  std::string text;
  for (const std::string& word : options.words) text += (text.empty() ? "" : " ") + word;
  return text;
}

// Vek looks at the beginning of a text and takes blanks and signs: what it writes then is not what
// was typed.
void CheckAddress(std::string_view text) {
  constexpr std::size_t kRoom = 19;
  const auto is_number = [](std::string_view part) {
    const auto number = ParseInteger(part);
    return number && *number >= 0 && *number <= 255;
  };
  const auto parts = Split(text, '.');
  if (text.size() <= kRoom && text.find_first_not_of("0123456789.") == text.npos &&
      parts.size() == 4 && std::all_of(parts.begin(), parts.end(), is_number)) {
    return;
  }
  FailUsage('\'', Printable(text),
            "' is no address: four numbers from 0 to 255 with dots, at most ", kRoom,
            " characters");
}

int Set(const SystemOptions& options, OperationKind kind, const char* subject) {
  const std::string text = TextOf(options);
  const OperationEnd end = AskFor(kind, {.text = text}, options);
  return Tell(options, end, TellingOf(end, subject, Text(subject, ": set to ", text)));
}

int CheckVersion(const SystemOptions& options, std::int32_t version) {
  const OperationEnd end = AskFor(OperationKind::CheckVersion, {.value = version}, options);
  Telling telling = TellingOf(end, HexText(version), HexText(version) + ": accepted");
  if (end.Done() && end.reply.value != 1) telling.trouble = "not accepted";
  return Tell(options, end, telling);
}

}  // namespace

int RunTimeGet(const SystemOptions& options) {
  return Get(options, OperationKind::GetTime, "time");
}

int RunTimeSet(const SystemOptions& options) {
  return Set(options, OperationKind::SetTime, "time");
}

int RunIpGet(const SystemOptions& options) {
  return Get(options, OperationKind::GetIp, "address");
}

int RunIpSet(const SystemOptions& options) {
  CheckAddress(TextOf(options));
  return Set(options, OperationKind::SetIp, "address");
}

int RunVersion(const SystemOptions& options) {
  if (options.check) return CheckVersion(options, ParseWord(*options.check));
  const OperationEnd end = AskFor(OperationKind::GetVersion, {}, options);
  return Tell(options, end, TellingOf(end, "version", HexText(end.reply.value)));
}

int RunReboot(const SystemOptions& options) {
  const OperationEnd end = AskFor(OperationKind::Reboot, {}, options);
  return Tell(options, end, TellingOf(end, "reboot", "reboot: done"));
}
