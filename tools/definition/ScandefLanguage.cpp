#include "ScandefLanguage.h"

#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "QLMlib/common/ut/NumberText.h"
#include "Scan/selection/PatternMatcher.h"
#include "Scan/selection/Selection.h"
#include "Scan/selection/pathmatch.h"
#include "ScandefPatterns.h"
#include "ScandefWords.h"

namespace agent::scandef {

namespace {

// Bytes of a name that the job keeps for its comparisons.
constexpr size_t OWNER_LENGTH = 32;
constexpr size_t GROUP_LENGTH = 16;

std::string tooLong(const Field& field) {
  const bool owner = field.letter == 'U';
  return std::string(owner ? "an owner's" : "a group's") + " name is cut to its first " +
         std::to_string(owner ? OWNER_LENGTH : GROUP_LENGTH) +
         " bytes before it is compared: write no more of it";
}

std::string bigEndian(uint32_t value) {
  return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
          static_cast<char>(value)};
}

std::string all(uint32_t mask) {
  return "=P" + bigEndian(mask);
}
std::string any(uint32_t mask) {
  return "&P" + bigEndian(mask);
}

// Masks of nothing: always and never true, wherever they stand.
std::string everything() {
  return all(0);
}
std::string nothing() {
  return any(0);
}

std::string operands(const std::vector<std::string>& tests, std::string_view op, size_t begin, size_t end) {
  if (end - begin == 1) return tests[begin];
  const size_t middle = begin + (end - begin) / 2;
  return std::string(op) + operands(tests, op, begin, middle) + operands(tests, op, middle, end);
}

// "a and b and c ..." as a balanced tree: the depth of an expression is limited, its length is not.
std::string joined(const std::vector<std::string>& tests, std::string_view op) {
  return operands(tests, op, 0, tests.size());
}

// The compact form has no equality of values: it is what is neither less nor greater.
std::string equality(char letter, const std::string& value) {
  return std::string("&>=") + letter + value + "<=" + letter + value;
}

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/// Reads the text from front to back and gives the compact form of each part.
class Compiler {
 public:
  explicit Compiler(std::string_view text) : text_(text) {}
  /// @param mountPoint see compileWhereBelow
  Compiler(std::string_view text, std::optional<std::string> mountPoint)
      : text_(text), beginsBelow_(true), mountPoint_(std::move(mountPoint)) {}

  std::string selection();

  const Caveats& caveats() const { return caveats_; }

 private:
  static constexpr int MAX_NESTING = 500;  // of parentheses and "not": nobody writes more

  std::string parseOr();
  std::string parseAnd();
  std::string parseNot();
  std::string parseTest();
  std::string parseTestOf(const Field& field);
  std::string parseTypes();
  std::string parseNames(const Field& field);
  std::string parseComparison(const Field& field);
  std::string parseValues(const Field& field, bool& unbounded);
  std::string parseRange(const Field& field);
  std::string parseAttributes();

  uint32_t parseType();
  uint32_t parseMask();
  std::string parsePattern(const Field& field, size_t& position);
  std::string matchedFromBelow(const std::vector<std::string>& patterns) const;
  std::string parseValue(const Field& field, std::string_view op);
  std::string parseSize(const Field& field, std::string_view op);
  size_t parseSizeUnit();
  std::string parseTime(bool relativeOnly);
  int64_t parseOffset();
  int64_t parseDate();
  std::string parseText();
  char parseEscape();
  uint32_t parseWord32(const char* what) {
    const auto number = static_cast<uint32_t>(parseNumber(UINT32_MAX, what));
    skipBlanks();
    return number;
  }
  uint64_t parseNumber(uint64_t limit, const char* what);
  std::chrono::sys_days parseDay();
  int64_t parseTwoDigits(int64_t limit);

  template <typename ParseItem>
  void parseList(ParseItem item);

  [[noreturn]] static void fail(size_t position, const std::string& reason) {
    throw LanguageError(position, reason);
  }
  [[noreturn]] void expected(const std::string& what) const {
    fail(position_, "expected " + what + (position_ >= text_.size() ? ", but the text ends here" : ""));
  }

  char next() const { return position_ < text_.size() ? text_[position_] : '\0'; }
  void skipBlanks() {
    while (position_ < text_.size() && isBlank(text_[position_])) ++position_;
  }
  bool take(std::string_view symbol);
  bool takeWord(std::string_view word);
  std::string peekWord() const;

  std::string_view text_;
  size_t position_ = 0;
  int nesting_ = 0;
  Caveats caveats_;
  bool beginsBelow_ = false;  // the walk begins below the mount point
  std::optional<std::string> mountPoint_;
};

std::string Compiler::selection() {
  skipBlanks();
  if (position_ == text_.size()) return {};
  std::string expression = parseOr();
  if (position_ < text_.size()) expected("\"and\", \"or\" or the end");
  if (expression == everything()) return {};

  // The job looks for lists of path patterns wherever "(F" stands, and edits what it takes for one.
  std::string filtered = expression;
  Selection::FilterOutOtherOSPath(filtered, 0);
  if (filtered != expression) {
    fail(0,
         "the compact form holds \"(F\" outside of a list, which the job would take for a list and change");
  }
  Selection compiler;
  compiler.setExpression(expression);
  if (!compiler.compile("scandef", 0)) fail(0, "the selection is nested too deep for the job");
  return expression;
}

std::string Compiler::parseOr() {
  std::vector<std::string> tests{parseAnd()};
  while (takeWord("or")) tests.push_back(parseAnd());
  return joined(tests, "|");
}

std::string Compiler::parseAnd() {
  std::vector<std::string> tests{parseNot()};
  while (takeWord("and")) tests.push_back(parseNot());
  return joined(tests, "&");
}

std::string Compiler::parseNot() {
  if (++nesting_ > MAX_NESTING) fail(position_, "nested too deep");
  std::string expression;
  if (takeWord("not")) {
    expression = "!" + parseNot();
  } else if (take("(")) {
    expression = parseOr();
    if (!take(")")) expected("\")\"");
  } else {
    expression = parseTest();
  }
  --nesting_;
  return expression;
}

std::string Compiler::parseTest() {
  const size_t begin = position_;
  const std::string word = peekWord();
  if (takeWord("everything")) return everything();
  if (takeWord("nothing")) return nothing();
  if (takeWord("attributes")) return parseAttributes();
  if (const auto attribute = findWord(ATTRIBUTES, std::string_view(word)); attribute != ATTRIBUTES.end()) {
    takeWord(word);
    return any(attribute->number);
  }
  const auto field = findWord(FIELDS, std::string_view(word));
  if (field == FIELDS.end()) {
    if (word.empty()) expected("a test, such as type = file");
    fail(begin, "there is no test \"" + word + "\"");
  }
  if (field->letter == 'C')
    fail(begin, "this platform keeps no time of creation: the test would never be true");
  takeWord(word);
  return parseTestOf(*field);
}

std::string Compiler::parseTestOf(const Field& field) {
  switch (field.kind) {
    case Kind::TYPE:
      return parseTypes();
    case Kind::PATH:
      return parseNames(field);
    case Kind::NAME: {
      const std::string word = peekWord();
      return word == "like" || word == "not" ? parseNames(field) : parseComparison(field);
    }
    case Kind::SIZE:
    case Kind::TIME:
      break;
  }
  return parseComparison(field);
}

// "(item, item ...)" or one item.
template <typename ParseItem>
void Compiler::parseList(ParseItem item) {
  if (!take("(")) return item();
  do {
    item();
  } while (take(","));
  if (!take(")")) expected("\",\" or \")\"");
}

std::string Compiler::parseTypes() {
  const bool negated = take("!=");
  if (!negated && !take("=")) expected("\"=\" or \"!=\"");
  std::vector<std::string> types;
  parseList([&] { types.push_back(bigEndian(parseType())); });
  std::string expression = negated ? "!" : "";
  if (types.size() == 1) return expression + "=T" + types.front();
  expression += "(T";
  for (const std::string& type : types) expression += type + ",";
  expression.back() = ')';
  return expression;
}

uint32_t Compiler::parseType() {
  const std::string word = peekWord();
  if (const auto type = findWord(TYPES, std::string_view(word)); type != TYPES.end()) {
    takeWord(word);
    return type->number;
  }
  if (isDigit(next())) return parseWord32("a type");
  expected("a type: file, link, directory, fifo, socket, device or other");
}

std::string Compiler::parseNames(const Field& field) {
  const size_t begin = position_;
  const bool negated = takeWord("not");
  if (!takeWord("like"))
    expected(negated || field.kind == Kind::NAME ? "\"like\"" : "\"like\" or \"not like\"");
  if (field.letter == 'G') fail(begin, "the job can't match groups with patterns: compare them with = and <");
  std::vector<std::string> patterns;
  bool listable = true;
  bool matchesAll = false;
  parseList([&] {
    size_t position = 0;
    std::string pattern = parsePattern(field, position);
    matchesAll = matchesAll || pattern.empty();
    // Inside a list the job searches for these bytes.
    listable = listable && pattern.find_first_of("\\,)") == std::string::npos;
    patterns.push_back(pattern + '\0');
  });
  std::string expression = negated ? "!" : "";
  if (matchesAll) return expression + everything();
  if (beginsBelow_ && field.kind == Kind::PATH) return expression + matchedFromBelow(patterns);
  const std::string letter(1, field.letter);
  if (patterns.size() == 1) return expression + "=" + letter + patterns.front();
  if (listable || field.kind == Kind::NAME) {
    expression += "(" + letter;
    for (const std::string& pattern : patterns) expression += pattern + ",";
    expression.back() = ')';
    return expression;
  }
  for (std::string& pattern : patterns) pattern.insert(0, "=" + letter);
  return expression + joined(patterns, "|");
}

// "p", and "p/", as the walk names the directory that it begins with.
std::string Compiler::matchedFromBelow(const std::vector<std::string>& patterns) const {
  std::vector<std::string> tests;
  for (const std::string& written : patterns) {
    std::string pattern = written.substr(0, written.size() - 1);  // without its end
    if (mountPoint_) pattern = absolutePattern(pattern, *mountPoint_);
    tests.push_back("=F" + pattern + '\0');
    while (pattern.ends_with('/') || pattern.ends_with('\\')) pattern.pop_back();
    // Of two slashes the second ends a component without a byte.
    if (isAbsolute(pattern)) tests.push_back("=F" + pattern + "//" + '\0');
  }
  return joined(tests, "|");
}

// A pattern that matches everything comes back empty.
std::string Compiler::parsePattern(const Field& field, size_t& position) {
  position = position_;
  std::string pattern = parseText();
  int32_t anchor = ANCHOR_RELATIVE;
  const std::string regex = pathmatch(pattern).translate(anchor);
  if (regex.empty()) return {};
  const bool ofNames = field.kind == Kind::NAME;
  if (ofNames && (anchor <= 0 || !isOneComponent(pattern)))
    fail(position, "an owner's name is no path: the pattern can't be one");
  std::string words;
  if (PatternMatcher::compile(regex, words) == nullptr) fail(position, "the pattern is wrong: " + words);
  if (ofNames) {
    if (shortestMatch(pattern) > OWNER_LENGTH) fail(position, tooLong(field));
    return pattern;
  }
  if (const std::string reason = whyNothingMatches(pattern); !reason.empty()) fail(position, reason);
  if (anchor == ANCHOR_ABSOLUTE) caveats_.absolutePatterns.push_back(pattern);
  return pattern;
}

std::string Compiler::parseComparison(const Field& field) {
  bool unbounded = false;
  std::string test = parseValues(field, unbounded);
  if (!field.wide) {
    caveats_.allocated = caveats_.allocated || field.letter == 'S';
    return test;
  }
  caveats_.size = true;
  if (unbounded) return "|" + test + std::string(BEYOND_SIZE32);
  const bool negated = test.starts_with('!');
  return (negated ? "!&!" : "&!") + std::string(BEYOND_SIZE32) + test.substr(negated ? 1 : 0);
}

// By the job's own comparisons. `unbounded`: whether every value from some on passes.
std::string Compiler::parseValues(const Field& field, bool& unbounded) {
  if (takeWord("in")) return parseRange(field);
  for (const std::string_view op : {"!=", "<=", ">=", "=", "<", ">"}) {
    if (!take(op)) continue;
    unbounded = op.starts_with('>');
    const std::string value = parseValue(field, op);
    if (op == "=") return equality(field.letter, value);
    if (op == "!=") return "!" + equality(field.letter, value);
    return std::string(op) + field.letter + value;
  }
  expected(field.letter == 'U' ? "a comparison, \"like\" or \"in [\"" : "a comparison or \"in [\"");
}

std::string Compiler::parseRange(const Field& field) {
  if (!take("[")) expected("\"[\"");
  // The job counts the lower bound of a range of times from now, whatever it says.
  std::string range = std::string("[") + field.letter;
  range += field.kind == Kind::TIME ? parseTime(true) : parseValue(field, ">=");
  if (!take(",")) expected("\",\"");
  range += parseValue(field, "<");
  if (!take(")")) expected("\")\": a range excludes its upper bound");
  return range;
}

std::string Compiler::parseAttributes() {
  if (takeWord("any")) return any(parseMask());
  if (!takeWord("all")) expected("\"any\" or \"all\"");
  std::vector<std::string> masks;
  parseList([&] { masks.push_back(bigEndian(parseMask())); });
  if (masks.size() == 1) return "=P" + masks.front();
  std::string list = "(P";
  for (const std::string& mask : masks) list += mask + ",";
  list.back() = ')';
  return list;
}

uint32_t Compiler::parseMask() {
  uint32_t mask = 0;
  do {
    const std::string word = peekWord();
    if (const auto attribute = findWord(ATTRIBUTES, std::string_view(word)); attribute != ATTRIBUTES.end()) {
      takeWord(word);
      mask |= attribute->number;
    } else if (isDigit(next())) {
      mask |= parseWord32("a mask");
    } else {
      expected("an attribute: orphan, archive, blockdevice, executable, sticky, setgid, setuid or a number");
    }
  } while (take("+"));
  return mask;
}

std::string Compiler::parseValue(const Field& field, std::string_view op) {
  switch (field.kind) {
    case Kind::SIZE:
      return parseSize(field, op);
    case Kind::TIME:
      return parseTime(false);
    default: {
      const size_t begin = position_;
      const std::string name = parseText();
      if (name.size() > (field.letter == 'U' ? OWNER_LENGTH : GROUP_LENGTH)) fail(begin, tooLong(field));
      return name + '\0';
    }
  }
}

std::string Compiler::parseSize(const Field& field, std::string_view op) {
  const size_t begin = position_;
  if (!isDigit(next())) expected("a size, such as 10M");
  const uint64_t count = parseNumber(UINT32_MAX, "a size");
  const size_t unit = parseSizeUnit();
  // Compared as signed 32-bit numbers, of bytes or of blocks of 512 bytes.
  const bool blocks = field.letter == 'S';
  if (count > (uint64_t{INT32_MAX} << (blocks ? 9 : 0)) >> (10 * unit)) {
    fail(begin, blocks ? "the space that an entry takes is compared below 1T only"
                       : "a size is compared below 2G only: write \"allocated\" instead");
  }
  const bool ofEquality = op == "=" || op == "!=";
  if (blocks && unit == 0 && count % 512 != 0 && ofEquality) {
    fail(begin, "space is allocated in blocks of 512 bytes: nothing can be equal to this");
  }
  std::array<char, 9> digits{};
  std::snprintf(digits.data(), digits.size(), "%X", static_cast<unsigned int>(count));
  return digits.data() + std::string(1, static_cast<char>(unit));
}

// 0 for bytes, 1 for K and so on. A unit is joined to its number.
size_t Compiler::parseSizeUnit() {
  size_t unit = 0;
  if (isLetter(next())) {
    const std::string word = peekWord();
    const size_t place =
        word.size() == 1 ? SIZE_UNITS.find(static_cast<char>(word[0] & ~0x20)) : std::string_view::npos;
    if (place == std::string_view::npos) expected("K, M, G or T");
    unit = place + 1;
    ++position_;
    skipBlanks();
    return unit;
  }
  skipBlanks();
  const std::string word = peekWord();
  if (word.size() == 1 && SIZE_UNITS.find(static_cast<char>(word[0] & ~0x20)) != std::string_view::npos) {
    fail(position_, "a unit is joined to its number, as in 10M");
  }
  return unit;
}

// The sign and the value.
std::string Compiler::parseTime(bool relativeOnly) {
  const size_t begin = position_;
  bool relative = true;
  int64_t value = 0;
  if (takeWord("now")) {
    if (next() == '-' || next() == '+') value = parseOffset();
  } else if (next() == '-' || next() == '+') {
    value = parseOffset();
  } else if (take("@")) {
    relative = false;
    const bool negative = take("-");
    value = static_cast<int64_t>(parseNumber(uint64_t{1} << 31, "a time"));
    if (negative) value = -value;
    skipBlanks();
  } else if (isDigit(next())) {
    relative = false;
    value = parseDate();
  } else {
    expected("a time, such as -90d, now, 2024-05-01 or @1700000000");
  }
  if (relativeOnly && !relative) {
    fail(begin, "the lower bound of a range of times counts from now: use >= and <");
  }
  if (value < INT32_MIN || value > INT32_MAX)
    fail(begin, "times are compared as 32-bit numbers: this one is beyond");
  return (relative ? "+" : "@") + bigEndian(static_cast<uint32_t>(value));
}

int64_t Compiler::parseOffset() {
  const bool negative = next() == '-';
  ++position_;
  skipBlanks();
  if (!isDigit(next())) expected("a number of days, such as 90d");
  const auto count = static_cast<int64_t>(parseNumber(UINT32_MAX, "a time"));
  skipBlanks();
  const std::string word = peekWord();
  const auto unit = findWord(TIME_UNITS, std::string_view(word));
  if (unit == TIME_UNITS.end()) expected("a unit of time: s, min, h, d or w");
  takeWord(word);
  return (negative ? -count : count) * unit->seconds;
}

// 2024-05-01, 2024-05-01T12:30Z, 2024-05-01T12:30:15Z: in UTC.
int64_t Compiler::parseDate() {
  const auto day = parseDay();
  int64_t seconds = std::chrono::seconds(day.time_since_epoch()).count();
  if (next() == 'T' || next() == 't') {
    ++position_;
    seconds += parseTwoDigits(23) * HOUR;
    if (next() != ':') expected("\":\"");
    ++position_;
    seconds += parseTwoDigits(59) * MINUTE;
    if (next() == ':') {
      ++position_;
      seconds += parseTwoDigits(59);
    }
    if (next() != 'Z' && next() != 'z') expected("\"Z\": times are in UTC");
    ++position_;
  }
  if (isLetter(next()) || isDigit(next())) expected("the end of the date");
  skipBlanks();
  return seconds;
}

std::chrono::sys_days Compiler::parseDay() {
  const size_t begin = position_;
  std::array<int, 3> parts{};
  for (size_t part = 0; part < parts.size(); ++part) {
    if (part > 0) {
      if (next() != '-') fail(begin, "expected a date, such as 2024-05-01");
      ++position_;
    }
    const size_t digits = part == 0 ? 4 : 2;
    for (size_t digit = 0; digit < digits; ++digit, ++position_) {
      if (!isDigit(next())) fail(begin, "expected a date, such as 2024-05-01");
      parts[part] = parts[part] * 10 + (next() - '0');
    }
  }
  const std::chrono::year_month_day date{std::chrono::year(parts[0]),
                                         std::chrono::month(static_cast<unsigned int>(parts[1])),
                                         std::chrono::day(static_cast<unsigned int>(parts[2]))};
  if (!date.ok()) fail(begin, "there is no such day");
  return date;
}

int64_t Compiler::parseTwoDigits(int64_t limit) {
  const size_t begin = position_;
  int64_t value = 0;
  for (int digit = 0; digit < 2; ++digit, ++position_) {
    if (!isDigit(next())) expected("two digits");
    value = value * 10 + (next() - '0');
  }
  if (value > limit) fail(begin, "there is no such time of day");
  return value;
}

std::string Compiler::parseText() {
  const size_t begin = position_;
  if (next() != '\'') expected("a text in single quotes");
  std::string value;
  for (++position_;; ++position_) {
    if (position_ >= text_.size()) fail(begin, "the text has no closing quote");
    char byte = text_[position_];
    if (byte == '\'') {
      if (position_ + 1 >= text_.size() || text_[position_ + 1] != '\'') break;
      ++position_;
    } else if (byte == '\\') {
      byte = parseEscape();
    }
    if (byte == '\0') fail(position_, "names don't hold the byte 0");
    value += byte;
  }
  ++position_;
  skipBlanks();
  return value;
}

// Leaves the position at the escape's last character.
char Compiler::parseEscape() {
  const size_t begin = position_++;
  if (next() == '\\') return '\\';
  const int high = next() == 'x' && position_ + 2 < text_.size() ? hexDigit(text_[position_ + 1]) : -1;
  const int low = high >= 0 ? hexDigit(text_[position_ + 2]) : -1;
  if (low < 0) fail(begin, "a backslash is written \\\\, any other byte \\xHH");
  position_ += 2;
  return static_cast<char>(high * 16 + low);
}

// Decimal, or hexadecimal behind "0x". Blanks behind it are left: a unit may be joined to it.
uint64_t Compiler::parseNumber(uint64_t limit, const char* what) {
  const size_t begin = position_;
  if (!isDigit(next())) expected("a number");
  int base = 10;
  if (text_.substr(position_, 2) == "0x") {
    base = 16;
    position_ += 2;
  }
  uint64_t value = 0;
  const auto [end, error] =
      std::from_chars(text_.data() + position_, text_.data() + text_.size(), value, base);
  if (error == std::errc::invalid_argument) expected("hexadecimal digits");
  if (error != std::errc() || value > limit) fail(begin, std::string("the number is too large for ") + what);
  position_ = static_cast<size_t>(end - text_.data());
  return value;
}

bool Compiler::take(std::string_view symbol) {
  if (text_.substr(position_, symbol.size()) != symbol) return false;
  position_ += symbol.size();
  skipBlanks();
  return true;
}

// The word at the position, letters and then digits, in small letters; empty if there is none.
std::string Compiler::peekWord() const {
  std::string word;
  for (size_t place = position_; place < text_.size(); ++place) {
    if (!isLetter(text_[place]) && (word.empty() || !isDigit(text_[place]))) break;
    word += static_cast<char>(text_[place] | 0x20);  // a digit has that bit
  }
  return word;
}

bool Compiler::takeWord(std::string_view word) {
  if (word.empty() || peekWord() != word) return false;
  position_ += word.size();
  skipBlanks();
  return true;
}

}  // namespace

std::vector<std::string> Caveats::sentences() const {
  std::vector<std::string> sentences;
  if (size) {
    sentences.emplace_back(
        "size: a file of 4 GiB or more may still be taken for a smaller one if it takes less than that "
        "(sparse, compressed) or takes 2 TiB or more");
  }
  if (allocated) {
    sentences.emplace_back("allocated: a file that takes 1 TiB or more may still be taken for a smaller one");
  }
  return sentences;
}

std::string compileWhere(std::string_view text, Caveats* caveats) {
  Compiler compiler(text);
  std::string expression = compiler.selection();
  if (caveats != nullptr) *caveats = compiler.caveats();
  return expression;
}

std::string compileWhereBelow(std::string_view text, const std::optional<std::string>& mountPoint) {
  return Compiler(text, mountPoint).selection();
}

std::string byteList(const std::string& expression) {
  if (expression.empty()) return "null";
  std::string list;
  for (const char byte : expression) {
    if (!list.empty()) list += ',';
    list += std::to_string(static_cast<int>(static_cast<signed char>(byte)));
  }
  return list;
}

std::string expressionOf(std::string_view cell) {
  std::string expression;
  if (cell == "null") return expression;
  constexpr std::string_view SEPARATORS = ", ";
  for (size_t position = 0;
       (position = cell.find_first_not_of(SEPARATORS, position)) != std::string_view::npos;) {
    const size_t end = std::min(cell.find_first_of(SEPARATORS, position), cell.size());
    const std::optional<int> number = wholeNumber<int>(cell.substr(position, end - position));
    if (!number || *number < -128 || *number > 255) {
      throw LanguageError(position, "expected a byte, a number from -128 to 255");
    }
    expression += static_cast<char>(*number);
    position = end;
  }
  return expression;
}

}  // namespace agent::scandef
