#include "Scan/selection/SelectionParser.h"

#include <algorithm>
#include <utility>

#include "Scan/selection/Evaluators.h"
#include "Scan/selection/Selection.h"
#include "Scan/selection/pathmatch.h"

namespace agent {

namespace {

// The flags of the two halves of a between, which the servers' compilers have always come by in this way: at
// least (and relative to the start of the scan whatever the sign says), and below.
constexpr uint32_t BETWEEN_LOWER = 0xFFC60000;
constexpr uint32_t BETWEEN_UPPER = 0xFFC80000;

SelectTree newNode() {
  return SelectTree(new selectNode);
}

int hexDigit(char byte) {
  if (byte >= '0' && byte <= '9') return byte - '0';
  if (byte >= 'a' && byte <= 'f') return byte - 'a' + 10;
  if (byte >= 'A' && byte <= 'F') return byte - 'A' + 10;
  return -1;
}

// Overflow is dropped; a count of 32 or more counts modulo 32.
uint32_t inBytes(uint32_t size, unsigned int unit) {
  return size << (10 * unit % 32);
}

uint32_t inBlocks(uint32_t size, unsigned int unit, bool truncated) {
  if (unit > 0) return size << ((10 * unit - 9) % 32);
  return (size >> 9) + (!truncated && (size & 0x1FF) != 0 ? 1 : 0);
}

}  // namespace

SelectionParser::SelectionParser(const std::string& expression, std::string_view name, int32_t baseLevel,
                                 std::string& errors)
    : expression_(expression), name_(name), baseLevel_(baseLevel), errors_(errors) {}

SelectTree SelectionParser::parse() {
  for (;;) {
    while (openOperator()) {
      if (open_.size() > Selection::MAX_NESTING) {
        record(SelectionError::NESTED_TOO_DEEP);
        recordOpenOperators();
        return nullptr;
      }
    }
    SelectTree test = parseTest();
    if (test == nullptr) {
      recordOpenOperators();
      return nullptr;
    }
    SelectTree whole = closeOperators(std::move(test));
    if (whole != nullptr) return whole;
  }
}

// --- Operators ---

// Takes "&", "|" or "!" and leaves it open until its children have been read.
bool SelectionParser::openOperator() {
  if (atEnd()) return false;
  selectNode::Evaluator evaluator = nullptr;
  switch (expression_[position_]) {
    case '&':
      if (left() > 1 && expression_[position_ + 1] == 'P') return false;  // a test, not an operator
      evaluator = ExslctAnd;
      break;
    case '|':
      evaluator = ExslctOr;
      break;
    case '!':
      evaluator = ExslctNot;
      break;
    default:
      return false;
  }
  open_.push_back({newNode(), position_, evaluator == ExslctNot ? 1U : 2U});
  open_.back().node->evaluator = evaluator;
  ++position_;
  return true;
}

// Gives a finished expression to the operator that waits for it, and that, once it is finished itself, to the
// one around. The whole tree when none is left waiting.
SelectTree SelectionParser::closeOperators(SelectTree term) {
  while (!open_.empty()) {
    OpenOperator& innermost = open_.back();
    innermost.node->children.push_back(std::move(term));
    if (innermost.node->children.size() < innermost.wanted) return nullptr;
    term = std::move(innermost.node);
    open_.pop_back();
  }
  return term;
}

void SelectionParser::recordOpenOperators() {
  for (; !open_.empty(); open_.pop_back()) {
    const selectNode& node = *open_.back().node;
    const bool isLeft = node.children.empty();
    SelectionContext context = SelectionContext::NOT;
    if (node.evaluator == ExslctAnd)
      context = isLeft ? SelectionContext::AND_LEFT : SelectionContext::AND_RIGHT;
    if (node.evaluator == ExslctOr) context = isLeft ? SelectionContext::OR_LEFT : SelectionContext::OR_RIGHT;
    record(open_.back().position, static_cast<char>(context));
  }
}

// --- Tests ---

// Any expression but an operator. Null after an error, which has been recorded.
SelectTree SelectionParser::parseTest() {
  if (atEnd()) {
    record(SelectionError::END_WANTED_OPERATOR);
    return nullptr;
  }
  SelectTree node = newNode();
  const size_t begin = position_;
  SelectionContext code = SelectionContext::NONE;
  switch (expression_[begin]) {
    case '&':
      code = parseAnyPerms(*node);
      break;
    case '=':
      code = parseMatch(*node);
      break;
    case '(':
      code = parseList(*node);
      break;
    case '<':
    case '>':
      code = parseComparison(*node);
      break;
    case '[':
      code = parseBetween(*node);
      break;
    default:
      record(SelectionError::UNKNOWN_OPERATOR);
      return nullptr;
  }
  if (code == SelectionContext::NONE) return node;
  record(begin, static_cast<char>(code));
  return nullptr;
}

SelectionContext SelectionParser::parseAnyPerms(selectNode& node) {
  position_ += 2;
  if (!parseNumber(node.operand)) return SelectionContext::ANY_PERMS;
  node.evaluator = ExslctAndPerms;
  return SelectionContext::NONE;
}

SelectionContext SelectionParser::parseMatch(selectNode& node) {
  ++position_;
  const TermResult term = parseMatchTerm(node);
  return term.failed ? SelectionContext::MATCH : term.code;
}

// The letter once, then operands with commas between them. One node holds them all, so a list of any length
// is evaluated in a loop.
SelectionContext SelectionParser::parseList(selectNode& node) {
  ++position_;
  if (atEnd()) {
    record(SelectionError::END_WANTED_TERM);
    return SelectionContext::LIST;
  }
  node.evaluator = ExslctOr;
  const char letter = expression_[position_];
  do {
    SelectTree item = newNode();
    const TermResult term = parseMatchOperand(letter, *item);
    if (term.failed) return SelectionContext::LIST;
    if (term.code != SelectionContext::NONE) return term.code;
    node.children.push_back(std::move(item));
  } while (!atEnd() && expression_[position_] == ',');
  if (atEnd() || expression_[position_] != ')') {
    record(SelectionError::BAD_LIST);
    return SelectionContext::LIST;
  }
  ++position_;
  return SelectionContext::NONE;
}

SelectionContext SelectionParser::parseComparison(selectNode& node) {
  const bool greater = expression_[position_++] == '>';
  const bool equal = !atEnd() && expression_[position_] == '=';
  if (equal) ++position_;
  // "Greater" is the opposite of "less or equal".
  uint32_t flags = greater ? COMPARE_NEGATED : 0;
  if (greater != equal) flags |= COMPARE_OR_EQUAL;
  const TermResult term = parseCompareTerm(flags, node);
  return term.failed ? SelectionContext::COMPARE : term.code;
}

// The letter once, then the two bounds.
SelectionContext SelectionParser::parseBetween(selectNode& node) {
  ++position_;
  node.evaluator = ExslctAnd;
  const char letter = atEnd() ? '\0' : expression_[position_];
  SelectTree lower = newNode();
  SelectTree upper = newNode();
  TermResult term = parseCompareTerm(BETWEEN_LOWER, *lower);
  if (!term.failed && term.code == SelectionContext::NONE) {
    term = parseCompareValue(letter, BETWEEN_UPPER, *upper);
  }
  if (term.failed) return SelectionContext::BETWEEN;
  node.children.push_back(std::move(lower));
  node.children.push_back(std::move(upper));
  return term.code;
}

// --- Match terms ---

SelectionParser::TermResult SelectionParser::parseMatchTerm(selectNode& node) {
  if (atEnd()) {
    record(SelectionError::END_WANTED_TERM);
    return {.failed = true};
  }
  return parseMatchOperand(expression_[position_], node);
}

// `position_` stands at the letter or, inside a list, at the comma that stands for it.
SelectionParser::TermResult SelectionParser::parseMatchOperand(char letter, selectNode& node) {
  const size_t begin = position_++;
  switch (letter) {
    case 'F':
      return {parsePath(node) ? SelectionContext::NONE : SelectionContext::MATCH_PATH};
    case 'U':
    case 'G':
      return {parseName(letter, node) ? SelectionContext::NONE : SelectionContext::MATCH_NAME};
    case 'P':
      node.evaluator = ExslctEqPerms;
      return {parseNumber(node.operand) ? SelectionContext::NONE : SelectionContext::ALL_PERMS};
    case 'T':
      node.evaluator = ExslctTypeCmp;
      return {parseNumber(node.operand) ? SelectionContext::NONE : SelectionContext::TYPE};
    default:
      position_ = begin;
      record(SelectionError::UNKNOWN_ATTRIBUTE);
      return {.failed = true};
  }
}

bool SelectionParser::parsePath(selectNode& node) {
  int32_t anchor = ANCHOR_ABSOLUTE;
  const Pattern pattern = parsePattern(node, anchor);
  if (pattern != Pattern::COMPILED) return pattern == Pattern::EVERYTHING;
  node.baseLevel = baseLevel_;
  if (anchor == ANCHOR_ABSOLUTE) {
    node.evaluator = ExslctLAnchoredPath;
  } else if (anchor > 0) {
    node.evaluator = ExslctFSRootPath;
  } else {
    node.evaluator = ExslctRAnchoredPath;
    node.componentsAbove = ~anchor;
  }
  return true;
}

bool SelectionParser::parseName(char letter, selectNode& node) {
  const size_t begin = position_;
  int32_t anchor = ANCHOR_ABSOLUTE;
  const Pattern pattern = parsePattern(node, anchor);
  if (pattern != Pattern::COMPILED) return pattern == Pattern::EVERYTHING;
  if (anchor <= 0) {
    record(begin, static_cast<char>(SelectionError::NAME_PATTERN_IS_PATH));
    return false;
  }
  node.evaluator = ExslctMatchUser;
  if (letter == 'G') {
    // Servers send patterns for groups and have always had no for an answer: a match would be a change.
    if (groupTests_ == nullptr) {
      groupTests_ = std::make_shared<GroupPatternTests>(GroupPatternTests{std::string(name_), false});
    }
    node.evaluator = ExslctGroupPattern;
    node.groupTests = groupTests_;
  }
  return true;
}

SelectionParser::Pattern SelectionParser::parsePattern(selectNode& node, int32_t& anchor) {
  const size_t end = expression_.find('\0', position_);
  if (end == std::string::npos) {
    record(SelectionError::NO_END_OF_TEXT);
    return Pattern::REFUSED;
  }
  const std::string regex = pathmatch(expression_.substr(position_, end - position_)).translate(anchor);
  if (regex.empty()) {
    // The position stays in front of the pattern, so anything but the end of the expression is an error next.
    // Servers know: such a pattern stands last.
    node.evaluator = ExslctTrue;
    return Pattern::EVERYTHING;
  }
  std::string words;
  node.pattern = PatternMatcher::compile(regex, words);
  if (node.pattern == nullptr) {
    recordCounted(words);
    recordCounted(regex);
    record(SelectionError::BAD_PATTERN);
    return Pattern::REFUSED;
  }
  position_ = end + 1;
  return Pattern::COMPILED;
}

// --- Compare terms ---

SelectionParser::TermResult SelectionParser::parseCompareTerm(uint32_t flags, selectNode& node) {
  if (atEnd()) {
    record(SelectionError::END_WANTED_TERM);
    return {.failed = true};
  }
  const char letter = expression_[position_];
  if (std::string_view("AMCUGsS").find(letter) == std::string_view::npos) {
    record(SelectionError::UNKNOWN_ATTRIBUTE);
    return {.failed = true};
  }
  ++position_;
  return parseCompareValue(letter, flags, node);
}

SelectionParser::TermResult SelectionParser::parseCompareValue(char letter, uint32_t flags,
                                                               selectNode& node) {
  node.flags = flags;
  switch (letter) {
    case 'A':
    case 'M':
    case 'C':
      // The platform keeps no time of creation: a test of it is always false.
      node.evaluator = letter == 'C' ? ExslctFalse : ExslctTScmp;
      node.flags |= letter == 'A' ? COMPARE_ATIME : COMPARE_MTIME;
      return {parseTime(node) ? SelectionContext::NONE : SelectionContext::COMPARE_TIME};
    case 'U':
    case 'G':
      node.evaluator = ExslctStrcmp;
      node.flags |= letter == 'U' ? COMPARE_USER : COMPARE_GROUP;
      return {parseText(node.text) ? SelectionContext::NONE : SelectionContext::COMPARE_NAME};
    default:
      node.evaluator = ExslctSizeCmp;
      node.flags |= letter == 's' ? COMPARE_SIZE : COMPARE_BLOCKS;
      return {parseSize(node) ? SelectionContext::NONE : SelectionContext::COMPARE_SIZE};
  }
}

bool SelectionParser::parseTime(selectNode& node) {
  if (left() < 5) {
    record(SelectionError::TOO_FEW_BYTES);
    return false;
  }
  const char sign = expression_[position_];
  if (sign != '@' && sign != '+') {
    record(SelectionError::BAD_TIME_SIGN);
    return false;
  }
  ++position_;
  if (sign == '+') node.flags |= COMPARE_FROM_NOW;
  return parseNumber(node.operand);
}

bool SelectionParser::parseText(std::string& text) {
  const size_t end = expression_.find('\0', position_);
  if (end == std::string::npos) {
    record(SelectionError::NO_END_OF_TEXT);
    return false;
  }
  text = expression_.substr(position_, end - position_);
  position_ = end + 1;
  return true;
}

bool SelectionParser::parseSize(selectNode& node) {
  const size_t begin = position_;
  uint32_t size = 0;
  int digit = -1;
  while (!atEnd() && (digit = hexDigit(expression_[position_])) >= 0) {
    size = size << 4 | static_cast<uint32_t>(digit);  // of more than eight digits the last eight count
    ++position_;
  }
  const unsigned int unit = atEnd() ? 0xFF : static_cast<unsigned char>(expression_[position_]);
  if (position_ == begin || unit > 4) {
    record(begin, static_cast<char>(SelectionError::BAD_SIZE));
    return false;
  }
  ++position_;
  const bool blocks = (node.flags & COMPARE_FIELD_MASK) == COMPARE_BLOCKS;
  // An upper bound that is included mustn't take in the block behind it.
  const bool truncated = (node.flags & COMPARE_OR_EQUAL) != 0;
  node.operand = blocks ? inBlocks(size, unit, truncated) : inBytes(size, unit);
  return true;
}

// Four bytes, the highest first.
bool SelectionParser::parseNumber(uint32_t& number) {
  if (left() < 4) {
    record(SelectionError::TOO_FEW_BYTES);
    return false;
  }
  number = 0;
  for (const size_t end = position_ + 4; position_ < end; ++position_) {
    number = number << 8 | static_cast<unsigned char>(expression_[position_]);
  }
  return true;
}

// --- Errors ---

void SelectionParser::record(size_t position, char code) {
  errors_ += static_cast<char>(position & 0xFF);
  errors_ += static_cast<char>(position >> 8 & 0xFF);
  errors_ += code;
}

// The length behind the text is 16 bits wide and has to be right for a reader to get past.
void SelectionParser::recordCounted(const std::string& text) {
  const size_t length = std::min<size_t>(text.size(), 0xFFFF);
  errors_.append(text, 0, length);
  errors_ += static_cast<char>(length & 0xFF);
  errors_ += static_cast<char>(length >> 8);
}

}  // namespace agent
