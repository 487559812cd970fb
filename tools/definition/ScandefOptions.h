#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "ScandefDefinition.h"

namespace agent::scandef {

/// A command line that can't be followed; the text says why.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What the command line asks for.
struct Request {
  enum class Action { WRITE, HELP, EXPLAIN, COMPILE };

  Action action = Action::WRITE;
  std::string subject;    ///< of EXPLAIN and COMPILE
  Definition definition;  ///< of WRITE
  std::string output;     ///< a file, or empty for standard output
  std::string install;    ///< the job's install location, to write where the job will look; or empty
  std::string server;
  std::vector<std::string> remarks;  ///< what standard error is to say, though it is no error
  int32_t sidRunNumber = 1;
  int32_t jobRunNumber = 1;
};

/// @throws UsageError
Request parseOptions(const std::vector<std::string>& arguments);

/// The text of --help.
std::string helpText();

/// What somebody has written, as a message quotes it.
std::string shown(const std::string& words);

/// A message about `text`, with the place marked below it.
std::string marked(const std::string& text, size_t position, const std::string& reason);

}  // namespace agent::scandef
