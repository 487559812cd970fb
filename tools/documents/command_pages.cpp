// For developers: what the tools' manual pages and the shells' completions say of options, made from the
// table that the tools parse them by.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>

#include "definition/ScandefOptions.h"
#include "documents/DocumentPart.h"
#include "report/ScanreportOptions.h"
#include "terminal/CommandOptions.h"

namespace agent::tools {

namespace {

constexpr const char* USAGE =
    "usage: command_pages [--check DIRECTORY | --write DIRECTORY | --completions DIRECTORY]\n"
    "\n"
    "Tells whether the manual pages in DIRECTORY have the tools' options between their two\n"
    "marks, or puts them there; or writes the completions for bash, zsh and fish to DIRECTORY.\n";

bool writeFile(const std::filesystem::path& path, const std::string& text) {
  std::ofstream file(path);
  file << text << std::flush;
  if (!file) std::cerr << "command_pages: " << path << " can't be written\n";
  return static_cast<bool>(file);
}

int completions(const CLI::App& command, const std::filesystem::path& directory) {
  const std::string& name = command.get_name();
  const bool written = writeFile(directory / name, bashCompletion(command)) &&
                       writeFile(directory / ("_" + name), zshCompletion(command)) &&
                       writeFile(directory / (name + ".fish"), fishCompletion(command));
  return written ? 0 : 1;
}

int page(const CLI::App& command, std::string_view action, const std::string& directory) {
  const DocumentPart part{"command_pages", ".\\\" made by command_pages:\n",
                          ".\\\" end of what command_pages makes\n", manualOptions(command)};
  const std::string file = directory + "/" + command.get_name() + ".1";
  return action == "--write" ? part.write(file) : part.check(file);
}

int forEachCommand(std::string_view action, const std::string& directory) {
  ReportRequest request;
  const auto scanreport = scanreportCommand(request);
  const scandef::ScandefOptions scandef;
  int result = 0;
  for (const CLI::App* command : {static_cast<const CLI::App*>(scanreport.get()), &scandef.command()}) {
    result |=
        action == "--completions" ? completions(*command, directory) : page(*command, action, directory);
  }
  return result;
}

}  // namespace

}  // namespace agent::tools

int main(int argc, char** argv) {
  const std::string_view action = argc > 1 ? argv[1] : "";
  if (argc != 3 || (action != "--check" && action != "--write" && action != "--completions")) {
    std::cerr << agent::tools::USAGE;
    return 2;
  }
  return agent::tools::forEachCommand(action, argv[2]);
}
