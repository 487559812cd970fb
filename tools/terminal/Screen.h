#pragma once

#include <cstddef>
#include <string>

namespace agent::tools {

/// What a report may know of where it is shown.
struct Screen {
  static constexpr size_t USUAL = 80;
  /// What a report needs at least; a narrower terminal breaks the lines itself.
  static constexpr size_t NARROWEST = 70;
  static constexpr size_t WIDEST = 160;  ///< bars beyond that are no easier to compare

  size_t width = USUAL;  ///< columns
  bool color = false;
  size_t lines = 0;  ///< 0: what is shown isn't read on a terminal

  /// The terminal that standard output is. Colours are for one whose user hasn't said otherwise
  /// (no-color.org); COLUMNS and LINES hold where they are numbers (POSIX, environment variables).
  static Screen ofStandardOutput();

  std::string bold(const std::string& text) const { return styled("1", text); }
  std::string blue(const std::string& text) const { return styled("34", text); }
  std::string red(const std::string& text) const { return styled("31", text); }
  std::string green(const std::string& text) const { return styled("32", text); }

 private:
  std::string styled(const char* code, const std::string& text) const {
    return color && !text.empty()
               ? std::string("\033[").append(code).append("m").append(text).append("\033[0m")
               : text;
  }
};

}  // namespace agent::tools
