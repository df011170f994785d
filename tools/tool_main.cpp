#include "tools/tool_main.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "tools/failure.h"

namespace {

int Report(const CLI::App& app, std::string message, int status) {
  std::replace(message.begin(), message.end(), '\n', ' ');
  std::fprintf(stderr, "%s: %s\n", app.get_name().c_str(), message.c_str());
  return status;
}

// A word that is no command counts as none given; the word itself says more.
std::string Explain(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> words = app.remaining();
  const bool no_command = error.get_name() == "RequiredError" && app.get_subcommands().empty();
  return no_command && !words.empty() ? "no command " + words.front() : error.what();
}

}  // namespace

void AddRootOptions(CLI::App& app, RootOption& option) {
  app.add_option("--root", option.root,
                 "Folder that stands for the controller's file system (default: VEK_ROOT)");
  app.add_flag("--host", option.host, "Work on the real paths of this machine");
}

int RunTool(CLI::App& app, int argc, char** argv, const std::function<int()>& body) noexcept {
  try {
    app.parse(argc, argv);
    return body();
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);  // --help
    return Report(app, Explain(app, error), kStatusUsage);
  } catch (const Failure& failure) {
    return Report(app, failure.what(), failure.status());
  } catch (const std::exception& error) {
    return Report(app, error.what(), kStatusFailed);
  }
}
