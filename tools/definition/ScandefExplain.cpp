#include <chrono>
#include <cstdio>
#include <optional>
#include <utility>
#include <vector>

#include "Common/SafeText.h"
#include "Scan/selection/Selection.h"
#include "Scan/selection/pathmatch.h"
#include "ScandefLanguage.h"
#include "ScandefWords.h"

namespace agent::scandef {

namespace {

/// A part of an expression as text.
struct Explained {
  enum class Level { OR, AND, TEST };  // how tightly it holds together

  std::string text = {};
  std::string negated = {};  // how its opposite is spelled, if not with "not"
  Level level = Level::TEST;
  // Of a comparison: to find the two halves of an equality.
  std::string comparedField = {};
  std::string comparedBy = {};
  std::string comparedValue = {};
};

std::string typeText(uint32_t type) {
  const auto known =
      std::find_if(TYPES.begin(), TYPES.end(), [type](const auto& entry) { return entry.number == type; });
  return known == TYPES.end() ? std::to_string(type) : std::string(known->word);
}

std::string maskText(uint32_t mask) {
  std::string text;
  for (const auto& [word, bit] : ATTRIBUTES) {
    if ((mask & bit) == 0) continue;
    text += (text.empty() ? "" : "+") + std::string(word);
    mask &= ~bit;
  }
  if (mask == 0 && !text.empty()) return text;
  std::array<char, 11> rest{};
  std::snprintf(rest.data(), rest.size(), "0x%X", mask);
  return text + (text.empty() ? "" : "+") + rest.data();
}

std::string timeText(int64_t seconds, bool relative) {
  if (relative) {
    if (seconds == 0) return "now";
    const auto* const unit = std::find_if(TIME_UNITS.begin() + 1, TIME_UNITS.end(),
                                          [seconds](const auto& u) { return seconds % u.seconds == 0; });
    return (seconds < 0 ? "" : "+") + std::to_string(seconds / unit->seconds) + std::string(unit->word);
  }
  const std::chrono::sys_seconds time{std::chrono::seconds(seconds)};
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date{day};
  const auto left = static_cast<int>((time - day).count());
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02u", static_cast<int>(date.year()),
                static_cast<unsigned int>(date.month()), static_cast<unsigned int>(date.day()));
  if (left == 0) return text.data();
  const std::string dayText = text.data();
  std::snprintf(text.data(), text.size(), "T%02d:%02d:%02dZ", left / 3600, left / 60 % 60, left % 60);
  return dayText + text.data();
}

/// Reads an expression that compiles. Operators wait on a stack, as in the job's own compiler.
class Explainer {
 public:
  explicit Explainer(const std::string& expression) : expression_(expression) {}

  std::string text();

 private:
  struct Open {
    char op;
    std::vector<Explained> children;
  };

  std::optional<Explained> size();
  Explained boundedSize();
  bool open();
  bool close(Explained& part);

  Explained test();
  Explained match();
  Explained list();
  Explained comparison(std::string_view field = {});
  Explained range(std::string_view field = {});

  std::string item(char letter);
  std::string value(char letter, bool fromNow);
  std::string sizeText();
  std::string textUpToNul();
  uint32_t number();
  bool take(std::string_view bytes) {
    if (expression_.compare(position_, bytes.size(), bytes) != 0) return false;
    position_ += bytes.size();
    return true;
  }
  char byte() { return position_ < expression_.size() ? expression_[position_++] : '\0'; }

  const std::string& expression_;
  size_t position_ = 0;
  std::vector<Open> open_;
};

std::string fieldWord(char letter) {
  if (letter == 'P') return "attributes";
  const auto* const field = std::find_if(FIELDS.begin(), FIELDS.end(), [letter](const Field& candidate) {
    return candidate.letter == letter && !candidate.wide;
  });
  return field == FIELDS.end() ? std::string(1, letter) : std::string(field->word);
}

Explained everythingExplained() {
  return {.text = "everything", .negated = "nothing"};
}

// How a match term is written before its value or its list, and before that of its opposite.
Explained matchText(char letter, const std::string& values) {
  const std::string field = fieldWord(letter);
  if (letter == 'T') return {.text = field + " = " + values, .negated = field + " != " + values};
  if (letter == 'P') return {.text = field + " all " + values};
  return {.text = field + " like " + values, .negated = field + " not like " + values};
}

Explained negation(Explained part) {
  if (!part.negated.empty()) return {.text = std::move(part.negated), .negated = std::move(part.text)};
  const bool isTest = part.level == Explained::Level::TEST;
  return {.text = isTest ? "not " + part.text : "not (" + part.text + ")"};
}

bool isEquality(const Explained& left, const Explained& right) {
  return left.comparedBy == ">=" && right.comparedBy == "<=" && left.comparedField == right.comparedField &&
         left.comparedValue == right.comparedValue;
}

Explained joinedText(char op, Explained left, Explained right) {
  if (op == '&' && isEquality(left, right)) {
    const std::string& field = left.comparedField;
    return {.text = field + " = " + left.comparedValue, .negated = field + " != " + left.comparedValue};
  }
  const Explained::Level level = op == '&' ? Explained::Level::AND : Explained::Level::OR;
  for (Explained* part : {&left, &right}) {
    if (part->level < level) part->text = "(" + part->text + ")";
  }
  left.text += op == '&' ? " and " : " or ";
  left.text += right.text;
  return {.text = std::move(left.text), .level = level};
}

std::string Explainer::text() {
  for (;;) {
    std::optional<Explained> part;
    while (!(part = size()) && open()) {
    }
    if (!part) part = test();
    if (close(*part)) return part->text;
  }
}

// A test of the size as the compiler puts it together; nothing, and the position unmoved, where another
// begins.
std::optional<Explained> Explainer::size() {
  const size_t begin = position_;
  if (take("&!") && take(BEYOND_SIZE32)) {
    if (Explained part = boundedSize(); !part.text.empty()) return part;
  } else if (expression_.compare(begin, 3, "|>s") == 0 || expression_.compare(begin, 4, "|>=s") == 0) {
    position_ = begin + 1;
    Explained part = comparison("size");
    if (take(BEYOND_SIZE32)) return Explained{.text = part.text};
  }
  position_ = begin;
  return std::nullopt;
}

// Without a text for another test than one of the size that has an upper bound.
Explained Explainer::boundedSize() {
  const std::string_view rest = std::string_view(expression_).substr(position_);
  if (rest.starts_with("[s")) {
    ++position_;
    return range("size");
  }
  if (rest.starts_with("<s") || rest.starts_with("<=s")) return {.text = comparison("size").text};
  if (!rest.starts_with("&>=s")) return {};
  ++position_;
  Explained lower = comparison("size");
  if (expression_.compare(position_, 3, "<=s") != 0) return {};
  const Explained upper = comparison("size");
  return isEquality(lower, upper) ? joinedText('&', lower, upper) : Explained{};
}

bool Explainer::open() {
  const char op = position_ < expression_.size() ? expression_[position_] : '\0';
  if (op != '&' && op != '|' && op != '!') return false;
  if (op == '&' && expression_.compare(position_ + 1, 1, "P") == 0) return false;
  ++position_;
  open_.push_back({op, {}});
  return true;
}

// True when `part` has become the whole.
bool Explainer::close(Explained& part) {
  while (!open_.empty()) {
    Open& innermost = open_.back();
    if (innermost.op != '!' && innermost.children.empty()) {
      innermost.children.push_back(std::move(part));
      return false;
    }
    part = innermost.op == '!'
               ? negation(std::move(part))
               : joinedText(innermost.op, std::move(innermost.children.front()), std::move(part));
    open_.pop_back();
  }
  return true;
}

Explained Explainer::test() {
  switch (byte()) {
    case '&': {
      ++position_;
      const uint32_t mask = number();
      if (mask == 0) return negation(everythingExplained());
      const std::string names = maskText(mask);
      if (findWord(ATTRIBUTES, std::string_view(names)) != ATTRIBUTES.end()) return {.text = names};
      return {.text = "attributes any " + names};
    }
    case '=':
      return match();
    case '(':
      return list();
    case '[':
      return range();
    default:
      --position_;
      return comparison();
  }
}

Explained Explainer::match() {
  const char letter = byte();
  const size_t begin = position_;
  std::string value = item(letter);
  if (letter == 'P' && value == "0x0") return everythingExplained();
  int32_t anchor = 0;
  if (letter != 'P' && letter != 'T' &&
      pathmatch(expression_.substr(begin, position_ - begin - 1)).translate(anchor).empty()) {
    return everythingExplained();
  }
  return matchText(letter, value);
}

Explained Explainer::list() {
  const char letter = byte();
  std::string items;
  size_t count = 0;
  do {
    items += (items.empty() ? "" : ", ") + item(letter);
    ++count;
  } while (byte() == ',');
  return matchText(letter, count == 1 ? items : "(" + items + ")");
}

Explained Explainer::comparison(std::string_view field) {
  std::string op(1, byte());
  if (expression_.compare(position_, 1, "=") == 0) op += byte();
  const char letter = byte();
  Explained part;
  part.comparedField = field.empty() ? fieldWord(letter) : field;
  part.comparedBy = op;
  part.comparedValue = value(letter, false);
  part.text = part.comparedField + " " + op + " " + part.comparedValue;
  return part;
}

Explained Explainer::range(std::string_view field) {
  const char letter = byte();
  std::string text = (field.empty() ? fieldWord(letter) : std::string(field)) + " in [" + value(letter, true);
  text += ", " + value(letter, false) + ")";
  return {.text = text};
}

std::string Explainer::item(char letter) {
  if (letter == 'T') return typeText(number());
  if (letter == 'P') return maskText(number());
  return quotedText(textUpToNul());
}

std::string Explainer::value(char letter, bool fromNow) {
  switch (letter) {
    case 'A':
    case 'M':
    case 'C': {
      const bool relative = byte() == '+' || fromNow;
      return timeText(static_cast<int32_t>(number()), relative);
    }
    case 'U':
    case 'G':
      return quotedText(textUpToNul());
    default:
      return sizeText();
  }
}

std::string Explainer::sizeText() {
  uint32_t size = 0;
  while (position_ < expression_.size() && hexDigit(expression_[position_]) >= 0) {
    size = size << 4 | static_cast<uint32_t>(hexDigit(byte()));
  }
  const size_t unit = static_cast<unsigned char>(byte());
  return std::to_string(size) + (unit == 0 ? "" : std::string(SIZE_UNITS.substr(unit - 1, 1)));
}

std::string Explainer::textUpToNul() {
  const size_t end = std::min(expression_.find('\0', position_), expression_.size());
  std::string text = expression_.substr(position_, end - position_);
  position_ = std::min(end + 1, expression_.size());
  return text;
}

uint32_t Explainer::number() {
  uint32_t value = 0;
  for (int digit = 0; digit < 4; ++digit) value = value << 8 | static_cast<unsigned char>(byte());
  return value;
}

// The letters of the compiler's error records, in words.
std::string reasonOf(char code) {
  switch (code) {
    case '@':
      return "the expression ends where an operator is wanted";
    case 'A':
      return "unknown operator";
    case 'B':
      return "the pattern is wrong";
    case 'C':
      return "unknown attribute";
    case 'D':
      return "a time begins with neither @ nor +";
    case 'E':
      return "too few bytes for a number";
    case 'F':
      return "a text without its end";
    case 'H':
      return "a user's or group's pattern is a path";
    case 'I':
      return "a size without digits or unit";
    case 'J':
      return "the expression ends where a term is wanted";
    case 'K':
      return "an item of a list is followed by neither \",\" nor \")\"";
    default:
      return "nested too deep";
  }
}

// The innermost record of the errors: where it begins and what it says.
LanguageError firstError(const std::string& errors) {
  const auto byteAt = [&errors](size_t place) {
    return static_cast<size_t>(static_cast<unsigned char>(errors[place]));
  };
  size_t record = errors.size();
  while (record >= 3) {
    record -= 3;
    if (errors[record + 2] >= '@') break;
  }
  return {byteAt(record) | byteAt(record + 1) << 8, reasonOf(errors[record + 2])};
}

}  // namespace

std::string quotedText(std::string_view bytes) {
  std::string text = "'";
  while (!bytes.empty()) {
    if (bytes.front() == '\'') text += '\'';  // doubled
    appendSafe(text, bytes, Backslash::DOUBLED);
  }
  return text + "'";
}

std::string explainWhere(const std::string& expression) {
  Selection compiler;
  compiler.setExpression(expression);
  if (!compiler.compile("scandef", 0)) throw firstError(compiler.errors());
  if (expression.empty() || expression == " ") return everythingExplained().text;
  std::string filtered = expression;
  Selection::FilterOutOtherOSPath(filtered, 0);
  return Explainer(filtered).text();
}

}  // namespace agent::scandef
