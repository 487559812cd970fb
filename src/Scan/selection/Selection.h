#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Scan/selection/SelectTree.h"

namespace agent {

/// Compiles the compact prefix expressions of the definition file. One object is reused for many expressions.
///
/// An error is a record of three bytes: position, low byte first (its low 16 bits), and a code. Codes from 64
/// on are letters and say what is wrong; the position is where that begins. Smaller ones, see `ops`, name a
/// form around it, at the form's first byte. The innermost comes first. In front of a "B" stand two counted
/// strings, each followed by its length in two bytes, low byte first, so that the records can be read
/// backwards: the matcher's words, then the regular expression that it refused.
class Selection {
 public:
  /// What an error code N below 64 stands for is entry N - 1.
  static const std::array<const char*, 17> ops;

  /// Operators around a test: this many compile, one more doesn't.
  static constexpr size_t MAX_NESTING = 10'000;

  virtual ~Selection() = default;

  /// Takes a new expression and forgets the errors of the last one. Counted bytes, NULs among them.
  void setExpression(std::string expression);

  /// Compiles the expression. Not thread-safe; fails without a word in any log.
  /// @param name display name, for diagnostics only
  /// @param baseLevel level of the walk at which relative path patterns start
  /// @return true on success; then takeRoot() gives the tree
  bool compile(std::string_view name, int32_t baseLevel);

  /// The compiled tree; null before a successful compile.
  SelectTree takeRoot();

  /// The binary error records of the last compile, innermost cause first.
  const std::string& errors() const { return errors_; }

  /// Drops the patterns of other operating systems from each list of path patterns, `(Fa,b,...)`, that begins
  /// at `start` or behind it: those with a backslash that don't float. A list may be left without patterns.
  static void FilterOutOtherOSPath(std::string& expression, size_t start);

 private:
  SelectTree root_;
  std::string expression_;
  std::string errors_;
};

}  // namespace agent
