#pragma once

#include <memory>
#include <optional>
#include <string_view>

namespace agent {

/// A regular expression with three groups that whole lines are compared with: what opens a tag, its name,
/// what closes it. PCRE's C++ wrapper does the matching where the system has it (TagPatternPcrecpp.cpp), and
/// its successor PCRE2 where it has not (TagPatternPcre2.cpp), with the same answers.
class TagPattern {
 public:
  /// Compiles the expression.
  /// @throws std::bad_alloc when there is no memory for it
  explicit TagPattern(const char* expression);
  ~TagPattern();
  TagPattern(const TagPattern&) = delete;
  TagPattern& operator=(const TagPattern&) = delete;

  /// Compares the whole line, which may hold any byte.
  /// @return what the second group matched, as a part of the line, or nothing
  /// @throws std::bad_alloc when there is no memory to match in
  std::optional<std::string_view> match(std::string_view line) const;

 private:
  struct Compiled;
  std::unique_ptr<const Compiled> compiled_;
};

}  // namespace agent
