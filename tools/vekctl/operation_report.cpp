#include "tools/vekctl/operation_report.h"

#include <cstdio>

#include "tools/failure.h"

namespace {

// Of the characters of a text that the reply has overwritten.
constexpr std::size_t kReplySize = 2;
constexpr const char* kUnknown = "??";

const char* StatusWords(const OperationRow& row, int status) {
  switch (status) {
    case OP_DONE:
      return "done";
    case OP_INVALID_CODE:
      return "invalid operation code";
    case OP_REJECTED:
      return "rejected";
    case OP_FAILED:
      return "failed";
    default:
      return row.kind == OperationKind::SetTime ? "failed at the hardware clock"
                                                : "failed in its first stage";
  }
}

// What is the text's own.
std::string KnownText(const OperationReply& reply) {
  std::string text = reply.text;
  if (reply.OverlapsReply()) text.replace(kReplyInText, kReplySize, kUnknown);
  return text;
}

std::string ValueText(const OperationRow& row, std::int32_t value) {
  const bool plain = row.family == OperationFamily::Parameter ||
                     row.kind == OperationKind::GetCycleTime ||
                     row.kind == OperationKind::CheckVersion;
  return plain ? std::to_string(value) : Text(value, " (", HexText(value), ')');
}

bool IsPartlyUnknown(const OperationEnd& end) {
  return end.Done() && end.operation.row->result == OperationResult::Text &&
         end.reply.OverlapsReply();
}

void AddResult(JsonObject& json, const OperationEnd& end) {
  switch (end.operation.row->result) {
    case OperationResult::None:
      break;
    case OperationResult::Value:
      json.Add("value", std::to_string(end.reply.value));
      break;
    case OperationResult::Float:
      json.Add("float", JsonNumber(end.reply.real));
      break;
    case OperationResult::Text:
      json.Add("text", JsonText(KnownText(end.reply)));
      break;
  }
  if (IsPartlyUnknown(end)) json.Add("unknown_characters", "[41,42]");
}

JsonObject ToJson(const OperationEnd& end, const Telling& telling) {
  const auto& status = end.reply.status;
  JsonObject json;
  json.Add("code", std::to_string(end.operation.Code()))
      .Add("name", JsonText(end.operation.Command()))
      .Add("status", status ? std::to_string(*status) : "null")
      .Add("outcome", JsonText(telling.trouble.empty() ? end.Words() : telling.trouble));
  if (end.Done()) AddResult(json, end);
  for (const auto& [name, value] : telling.members) json.Add(name, value);
  return json;
}

}  // namespace

std::string OperationEnd::Words() const {
  if (!reply.status) return reply.trouble;
  return Text(StatusWords(*operation.row, *reply.status), Done() ? "" : " (Vek's log tells why)");
}

std::string OperationEnd::Result() const {
  switch (operation.row->result) {
    case OperationResult::Value:
      return ValueText(*operation.row, reply.value);
    case OperationResult::Float:
      return JsonNumber(reply.real) == "null" ? Text(reply.real) : JsonNumber(reply.real);
    case OperationResult::Text:
      return Printable(Trim(KnownText(reply)));
    default:
      return {};
  }
}

OperationEnd AskFor(OperationKind kind, OperationRequest request, const OperationOptions& options) {
  const Operation operation = OperationOf(kind);
  request.code = operation.Code();
  CheckOperationText(operation, request.text);
  SettleRoot(options.root);
  return {operation, Mailbox().Ask(request, options.timeout_s)};
}

Telling TellingOf(const OperationEnd& end, std::string subject, std::string text) {
  return {std::move(subject), std::move(text), end.Done() ? "" : end.Words()};
}

int Tell(const OperationOptions& options, const OperationEnd& end, const Telling& telling) {
  const bool well = telling.trouble.empty();
  if (options.json) {
    std::printf("%s\n", ToJson(end, telling).Text().c_str());
    return well ? 0 : kStatusFailed;
  }
  if (!well) Fail(telling.subject, ": ", telling.trouble);
  if (IsPartlyUnknown(end)) {
    std::fprintf(stderr,
                 "vekctl: warning: characters 41 and 42 are unknown (%s): the reply lies there; a "
                 "value of 40 or 41 characters ends there\n",
                 kUnknown);
  }
  std::printf("%s\n", telling.text.c_str());
  return 0;
}

std::string HexText(std::int32_t word) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08x", static_cast<unsigned>(word));
  return text;
}

std::string Printable(std::string_view text) {
  std::string line;
  for (const char c : text) {
    if (static_cast<unsigned char>(c) >= 0x20 && c != 0x7f) {
      line += c;
      continue;
    }
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned char>(c));
    line += escape;
  }
  return line;
}
