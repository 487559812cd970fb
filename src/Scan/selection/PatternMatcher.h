#pragma once

#include <bitset>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace agent {

/// The steps that stand for a regular expression of the forms that pathmatch writes: bytes, sets, runs within
/// a component, runs of whole components. It gives regexec's answer (in the "C" locale: text is bytes)
/// without regexec's price: glibc's allocates several times in each call, this never does, and it needs no
/// stack.
class PatternProgram {
 public:
  /// @return false when the expression holds anything else; the program is of no use then
  bool read(const std::string& expression);

  bool matches(const char* text) const;

 private:
  enum class Kind : uint8_t {
    BYTE,        // this byte, not a slash
    SLASH,       // a slash
    ANY,         // "[^/]"
    SET,         // any other bracket expression
    RUN,         // "[^/]*"; with a SLASH behind it also "\([^/]*/\)"
    COMPONENTS,  // "\([^/]*/\)*", at the start of a component only
    TAIL,        // "\(/[^/]*\)*" at the end: nothing, or a slash and anything
    END,
  };
  struct Step {
    Kind kind;
    unsigned char byte;  // of BYTE
    uint32_t set;        // of SET: index into sets_
  };
  using ByteSet = std::bitset<256>;

  bool readStep(const std::string& expression, size_t& position);
  bool readSet(const std::string& expression, size_t& position);
  static bool readMember(const std::string& expression, size_t first, size_t& position, ByteSet& set);
  void add(Kind kind, unsigned char byte = 0, uint32_t set = 0) { steps_.push_back({kind, byte, set}); }

  std::vector<Step> steps_;
  std::vector<ByteSet> sets_;
};

/// A compiled regular expression, tested against whole paths, tails of paths and names.
///
/// Matching is by bytes whatever the environment says. The job sets LC_MESSAGES and LC_TIME alone, so
/// LC_CTYPE and LC_COLLATE are "C" anyway; regcomp is called under "C" all the same, and what it decided
/// there holds for regexec.
class PatternMatcher {
 public:
  /// Compiles a POSIX basic regular expression.
  /// @param[out] error what regerror says when the expression is refused
  /// @return null when the expression is refused
  static std::unique_ptr<const PatternMatcher> compile(const std::string& expression, std::string& error);

  ~PatternMatcher();
  PatternMatcher(const PatternMatcher&) = delete;
  PatternMatcher& operator=(const PatternMatcher&) = delete;

  /// @param text NUL-terminated
  bool matches(const char* text) const;

 private:
  struct Regex;

  PatternMatcher();

  PatternProgram program_;
  std::unique_ptr<Regex> regex_;  // null where the program does
};

}  // namespace agent
