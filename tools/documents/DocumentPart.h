#pragma once

#include <string>

namespace agent::tools {

/// The part of a document that a program makes, between two lines that stay.
struct DocumentPart {
  std::string program;  ///< who makes it, for messages
  std::string begin;    ///< the line in front of it, with its end
  std::string end;      ///< the line behind it
  std::string text;

  /// Puts the part into a file.
  /// @return exit code: 1 with a message where it can't be read or written, or lacks the lines
  int write(const std::string& fileName) const;

  /// Tells whether the file has the part as it is.
  /// @return exit code: 1 with the first line that differs
  int check(const std::string& fileName) const;
};

}  // namespace agent::tools
