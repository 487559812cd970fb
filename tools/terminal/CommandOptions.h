#pragma once

#include <CLI/App.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

// What is told of a command's options, out of the one table that they are parsed by: a CLI::App.
//
// An option's description is a line for the help; what stands behind its first line end is for the manual
// page alone. Its type name is what the manual calls its value: FILE and DIRECTORY are completed as such, and
// the members of a CLI::IsMember as words.

namespace agent::tools {

/// A command line that can't be followed; the text says why.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Gives a command what all of ours have: --help, --help-all and --version.
/// @param name of the program
/// @param usage what stands behind the name
/// @param summary what it does
/// @param examples the end of each help
void beginCommand(CLI::App& command, const std::string& name, const std::string& usage,
                  const std::string& summary, const std::string& examples);

/// Hands the options' values to what they are bound to, in the order of the command line.
/// @return what is to be printed instead of running: a help or the version
/// @throws UsageError
std::optional<std::string> parseCommand(CLI::App& command, const std::vector<std::string>& arguments);

/// The options in short, on one screen: those of the first group each on a line, those of others by name.
std::string helpText(const CLI::App& command);

/// Every option with its line.
std::string wholeHelpText(const CLI::App& command);

/// The options as sections of a manual page, in roff (man(7)).
std::string manualOptions(const CLI::App& command);

/// What a shell's completion of the command is, as a file of its own.
std::string bashCompletion(const CLI::App& command);
std::string zshCompletion(const CLI::App& command);
std::string fishCompletion(const CLI::App& command);

}  // namespace agent::tools
