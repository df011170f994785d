#include "tools/command_line.h"

#include <type_traits>

#include "tools/failure.h"
#include "tools/tool_main.h"

namespace {

std::string CheckRange(const std::string& text, const NumberRange& range) {
  const auto number = ParseDouble(text);
  if (number && *number >= range.least && *number <= range.most) return {};
  return Text('\'', text, "' is no number from ", range.least, " to ", range.most);
}

bool IsRequired(const Argument& argument) {
  const bool by_place = *argument.name != '-';
  const bool may_lack = std::holds_alternative<std::optional<std::string>*>(argument.target);
  return argument.required || (by_place && !may_lack);
}

template <class Target>
CLI::Option* AddTarget(CLI::App& app, const Argument& argument, Target* target) {
  if constexpr (std::is_same_v<Target, bool>) {
    return app.add_flag(argument.name, *target, argument.help);
  } else if constexpr (std::is_same_v<Target, std::optional<std::string>>) {
    return app.add_option_function<std::string>(
        argument.name, [target](const std::string& text) { *target = text; }, argument.help);
  } else {
    return app.add_option(argument.name, *target, argument.help);
  }
}

void AddArgument(CLI::App& app, const Argument& argument) {
  CLI::Option* option =
      std::visit([&](auto* target) { return AddTarget(app, argument, target); }, argument.target);
  option->required(IsRequired(argument));
  // One word each time the option is given: what follows may stand by its place.
  if (*argument.name == '-') option->allow_extra_args(false);
  if (argument.needs != nullptr) option->needs(app.get_option(argument.needs));
  if (argument.range) {
    option->check(
        [range = *argument.range](const std::string& text) { return CheckRange(text, range); });
  }
}

// `chosen` becomes the command that was named.
void AddCommand(CLI::App& app, const Command& command, const Command*& chosen) {
  CLI::App* added = app.add_subcommand(command.name, command.help);
  for (const Argument& argument : command.arguments) AddArgument(*added, argument);
  for (const Command& below : command.commands) AddCommand(*added, below, chosen);
  if (command.commands.empty()) {
    added->callback([&] { chosen = &command; });
  } else {
    added->require_subcommand(1);
  }
}

}  // namespace

int RunCommandLine(const char* tool, const char* purpose, RootOption& root,
                   const std::vector<Command>& commands, int argc, char** argv) {
  CLI::App app(purpose, tool);
  AddRootOptions(app, root);
  app.require_subcommand(1);
  app.fallthrough();  // --root is understood behind the command as well
  const Command* chosen = nullptr;
  for (const Command& command : commands) AddCommand(app, command, chosen);
  return ParseArguments(app, argc, argv) ? chosen->run() : 0;
}
