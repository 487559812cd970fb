#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Scan/selection/SelectNode.h"
#include "Scan/selection/SelectTree.h"

namespace agent {

/// Letters of the error records that say what is wrong.
enum class SelectionError : char {
  END_WANTED_OPERATOR = '@',
  UNKNOWN_OPERATOR = 'A',
  BAD_PATTERN = 'B',
  UNKNOWN_ATTRIBUTE = 'C',
  BAD_TIME_SIGN = 'D',
  TOO_FEW_BYTES = 'E',
  NO_END_OF_TEXT = 'F',
  NAME_PATTERN_IS_PATH = 'H',
  BAD_SIZE = 'I',
  END_WANTED_TERM = 'J',
  BAD_LIST = 'K',
  NESTED_TOO_DEEP = 'L',
};

/// Codes of the error records that name the form around a failure. Code N is Selection::ops[N - 1].
enum class SelectionContext : char {
  NONE = 0,
  AND_LEFT = 1,
  AND_RIGHT = 2,
  OR_LEFT = 3,
  OR_RIGHT = 4,
  NOT = 5,
  ALL_PERMS = 6,
  ANY_PERMS = 7,
  MATCH_NAME = 8,
  COMPARE_NAME = 9,
  MATCH_PATH = 10,
  TYPE = 11,
  COMPARE_TIME = 12,
  COMPARE_SIZE = 13,
  LIST = 14,
  BETWEEN = 15,
  MATCH = 16,
  COMPARE = 17,
};

/// One compile of one expression: reads it from front to back and builds the tree. Operators wait on a stack
/// of the parser's own, so no expression is too deep for the thread's.
class SelectionParser {
 public:
  /// @param expression borrowed, like `errors`, which records are appended to
  SelectionParser(const std::string& expression, std::string_view name, int32_t baseLevel,
                  std::string& errors);

  /// @return the tree, or null when the expression is wrong. What stands behind the first whole expression is
  ///     not looked at.
  SelectTree parse();

 private:
  /// An operator that waits for its children.
  struct OpenOperator {
    SelectTree node;
    size_t position;
    size_t wanted;  // children
  };

  /// Result of a term: NONE, the term's own code, or FAILED, for which the form around puts its own.
  struct TermResult {
    SelectionContext code = SelectionContext::NONE;
    bool failed = false;
  };

  bool openOperator();
  SelectTree closeOperators(SelectTree term);
  void recordOpenOperators();

  SelectTree parseTest();
  SelectionContext parseAnyPerms(selectNode& node);
  SelectionContext parseMatch(selectNode& node);
  SelectionContext parseList(selectNode& node);
  SelectionContext parseComparison(selectNode& node);
  SelectionContext parseBetween(selectNode& node);

  TermResult parseMatchTerm(selectNode& node);
  TermResult parseMatchOperand(char letter, selectNode& node);
  TermResult parseCompareTerm(uint32_t flags, selectNode& node);
  TermResult parseCompareValue(char letter, uint32_t flags, selectNode& node);
  bool parsePath(selectNode& node);
  bool parseName(char letter, selectNode& node);
  enum class Pattern { REFUSED, EVERYTHING, COMPILED };
  Pattern parsePattern(selectNode& node, int32_t& anchor);
  bool parseTime(selectNode& node);
  bool parseText(std::string& text);
  bool parseSize(selectNode& node);
  bool parseNumber(uint32_t& number);

  bool atEnd() const { return position_ >= expression_.size(); }
  size_t left() const { return expression_.size() - position_; }
  void record(size_t position, char code);
  void record(SelectionError error) { record(position_, static_cast<char>(error)); }
  void recordCounted(const std::string& text);

  const std::string& expression_;
  std::string_view name_;
  int32_t baseLevel_;
  std::string& errors_;
  size_t position_ = 0;
  std::vector<OpenOperator> open_;
  std::shared_ptr<GroupPatternTests> groupTests_;
};

}  // namespace agent
