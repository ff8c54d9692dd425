// serve: runs orvel-serve, the program beside this one that serves the search page, with the
// arguments given (see tools/orvel/serve/main.cc for why it is a program of its own).
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

#include "tools/orvel/command_support.h"
#include "tools/orvel/commands.h"

namespace orvel::cli {

void registerServeCommand(CLI::App& app, int&) {
  CLI::App* command = app.add_subcommand(
      "serve",
      "Serve a page on this machine to search folders and read their documents and feeds "
      "(see 'orvel serve --help')");
  // Everything after "serve", --help included, is the served program's to read.
  command->set_help_flag();
  command->allow_extras();
  command->prefix_command();
  command->callback([command] {
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path server = self.parent_path() / "orvel-serve";
    std::vector<std::string> arguments = {server.string()};
    for (const std::string& argument : command->remaining()) arguments.push_back(argument);
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    ::execv(server.c_str(), argv.data());
    throw CommandError(server.string(), std::string("cannot be run: ") + std::strerror(errno));
  });
}

}  // namespace orvel::cli
