#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace agent {

/// Where a pattern's regular expression is tested. A value below 0 stands for a pattern that floats over the
/// tree and has a fixed number of components: minus that number.
inline constexpr int32_t ANCHOR_ABSOLUTE = 0;  ///< on the whole path
inline constexpr int32_t ANCHOR_RELATIVE = 1;  ///< on the path below the selection's base level

/// Translates the server's path and name patterns, which are the same on every platform, into POSIX basic
/// regular expressions. Patterns and names are bytes.
///
///   \\        a slash, before anything else is looked at
///   &x       the byte x itself; "&/" is a slash
///   *        any run of bytes within a component, also none
///   ?        one byte within a component
///   [...]    one byte of a set, "!" or "^" in first place negating it; never a slash
///   %/       as a whole component: any number of components, also none; as the last one all below
///   %/...    at the start, or /%/...: the pattern floats, it may match at any depth
///   /...     the pattern is absolute
class pathmatch {
 public:
  /// @param pattern without its final NUL
  explicit pathmatch(std::string pattern);

  /// True if the pattern's first byte is a slash.
  bool isAbsolute() const;

  /// @param[out] anchor see above; not set when the result is empty
  /// @return the expression; empty when the pattern matches everything. A malformed pattern gives an
  ///     expression that regcomp refuses.
  std::string translate(int32_t& anchor) const;

  static void replaceByte(std::string& text, char from, char to);

 private:
  std::string text_;  // with slashes for backslashes, and a backslash as the escape
};

}  // namespace agent
