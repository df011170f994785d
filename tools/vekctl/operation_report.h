// What becomes of an operation, told to a person or to a script.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/json.h"
#include "tools/mailbox.h"
#include "tools/root_option.h"
#include "tools/vekctl/operation_request.h"

// What all commands take that use the mailbox.
struct OperationOptions {
  RootOption root;
  double timeout_s = 10;
  bool json = false;
};

// An operation that was asked for, and how it ended.
struct OperationEnd {
  Operation operation;
  OperationReply reply;

  bool Done() const { return reply.status == OP_DONE; }
  // "done", "rejected (Vek's log tells why)", or why there is no reply.
  std::string Words() const;
  // Its result in words; empty when there is none.
  std::string Result() const;
};

// Has the operation of a kind that belongs to no group carried out, in the root that the options
// name. A Failure (status 2) when the text does not fit.
OperationEnd AskFor(OperationKind kind, OperationRequest request, const OperationOptions& options);

// What is said of the end of an operation.
struct Telling {
  std::string subject;
  std::string text;     // when all is well
  std::string trouble;  // when it is not; empty: it is
  // More of the JSON object: name, and value as JSON.
  std::vector<std::pair<const char*, std::string>> members = {};
};
// That `text` holds if the operation is done, and else that it is not.
Telling TellingOf(const OperationEnd& end, std::string subject, std::string text);

// Says it and gives the exit status. With --json, one object on standard output: code, name,
// status, outcome, the result, and the members. Else the text, or a Failure (status 1) "SUBJECT:
// TROUBLE".
int Tell(const OperationOptions& options, const OperationEnd& end, const Telling& telling);

// "0x00040500".
std::string HexText(std::int32_t word);
// Bytes that would spoil a line as \xHH.
std::string Printable(std::string_view text);
