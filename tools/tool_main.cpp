#include "tools/tool_main.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "tools/failure.h"

namespace {

// A word that is no command counts as none given; the word itself says more.
std::string Explain(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> words = app.remaining();
  const bool no_command = error.get_name() == "RequiredError" && app.get_subcommands().empty();
  std::string text = no_command && !words.empty() ? "no command " + words.front() : error.what();
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

}  // namespace

void AddRootOptions(CLI::App& app, RootOption& option) {
  app.add_option("--root", option.root,
                 "Folder that stands for the controller's file system (default: VEK_ROOT)");
  app.add_flag("--host", option.host, "Work on the real paths of this machine");
}

bool ParseArguments(CLI::App& app, int argc, char** argv) {
  try {
    app.parse(argc, argv);
    return true;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) FailUsage(Explain(app, error));
    app.exit(error);
    return false;
  }
}

int RunTool(const char* name, int (*tool)(int argc, char** argv), int argc, char** argv) noexcept {
  try {
    return tool(argc, argv);
  } catch (const Failure& failure) {
    std::fprintf(stderr, "%s: %s\n", name, failure.what());
    return failure.status();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", name, error.what());
    return kStatusFailed;
  }
}
