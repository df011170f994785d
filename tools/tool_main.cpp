#include "tools/tool_main.h"

#include <algorithm>
#include <string>
#include <vector>

#include "tools/failure.h"

namespace {

// A word that is no command counts as none given; the word itself says more.
std::string Explain(const CLI::App& app, const CLI::ParseError& error) {
  const CLI::App* last = &app;  // of the commands that were named
  while (!last->get_subcommands().empty()) last = last->get_subcommands().front();
  const std::vector<std::string> words = app.remaining(true);
  const bool no_command =
      error.get_name() == "RequiredError" && last->get_require_subcommand_min() > 0;
  std::string text = no_command && !words.empty() ? "no command " + words.front() : error.what();
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

// The arguments, the last one first. CLI11 takes -.5 for an option and -0.5 for a number.
std::vector<std::string> ReversedWords(int argc, char** argv) {
  std::vector<std::string> words;
  for (int k = argc - 1; k > 0; --k) {
    std::string& word = words.emplace_back(argv[k]);
    if (word.starts_with("-.") && ParseDouble(word)) word.insert(1, "0");
  }
  return words;
}

}  // namespace

void AddRootOptions(CLI::App& app, RootOption& option) {
  app.add_option("--root", option.root,
                 "Folder that stands for the controller's file system (default: VEK_ROOT)");
  app.add_flag("--host", option.host, "Work on the real paths of this machine");
}

bool ParseArguments(CLI::App& app, int argc, char** argv) {
  try {
    app.parse(ReversedWords(argc, argv));
    return true;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) FailUsage(Explain(app, error));
    app.exit(error);
    return false;
  }
}
