#include "Scan/selection/pathmatch.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "QLMlib/common/ut/Trace.h"

namespace agent {

namespace {

constexpr const char* ANY_COMPONENTS = "\\([^/]*/\\)*";  // before a component
constexpr const char* ALL_BELOW = "\\(/[^/]*\\)*";       // behind the last one

/// One bracket expression of a pattern. A member is always a plain byte: the expression that is written puts
/// each where the regular expression reads it as one.
class BracketSet {
 public:
  explicit BracketSet(bool negated) : negated_(negated) {}

  void addByte(unsigned char byte) {
    if (negated_ || byte != '/') ranges_.push_back({byte, byte});
  }

  void addRange(unsigned char low, unsigned char high) {
    reversed_ = reversed_ || low > high;
    if (negated_) {
      ranges_.push_back({low, high});
    } else if (low < '/' && '/' < high) {
      // The slash falls out. What begins right in front of it or ends right behind it keeps the other side.
      if (low != '.') ranges_.push_back({low, '.'});
      if (high != '0') ranges_.push_back({'0', high});
    } else if (low != '/' || high != '/') {
      ranges_.push_back({low == '/' ? static_cast<unsigned char>('0') : low,
                         high == '/' ? static_cast<unsigned char>('.') : high});
    }
  }

  /// The set as a regular expression. Not for an empty one.
  std::string expression() const;

  bool empty() const { return ranges_.empty(); }

 private:
  struct Range {
    unsigned char low;
    unsigned char high;
    bool contains(unsigned char byte) const { return low <= byte && byte <= high; }
    bool endsAt(unsigned char byte) const { return low == byte || high == byte; }
  };

  std::string members(bool closeFirst, std::string& last) const;

  bool negated_;
  bool reversed_ = false;  // a range with its ends the wrong way round
  std::vector<Range> ranges_;
};

// What an escaped byte stands for. The escape itself was an "&" in the pattern.
char unescaped(char byte) {
  return byte == '\\' ? '&' : byte;
}

void appendRange(std::string& text, unsigned char low, unsigned char high) {
  text += static_cast<char>(low);
  if (low == high) return;
  text += '-';
  text += static_cast<char>(high);
}

// The members in written order but for those that would be read as something else there: these go to `last`.
std::string BracketSet::members(bool closeFirst, std::string& last) const {
  std::string text;
  bool open = false;
  bool caret = false;
  bool hyphen = false;
  for (auto [low, high] : ranges_) {
    const auto take = [&low = low, &high = high](unsigned char special, bool& taken) {
      taken = taken || low == special || high == special;
      if (low == special) {
        ++low;
      } else if (high == special) {
        --high;
      }
    };
    bool close = closeFirst;
    take(']', close);
    if (low <= high) take('[', open);  // would open a class before ".", ":" or "="
    if (low <= high && low == '^' && text.empty() && !closeFirst && !negated_) take('^', caret);
    if (low <= high && low == '-' && (!text.empty() || closeFirst)) take('-', hyphen);
    if (low <= high) appendRange(text, low, high);
  }
  if (open) last += '[';
  if (caret) last += '^';
  const bool namesSlash =
      std::any_of(ranges_.begin(), ranges_.end(), [](const Range& range) { return range.contains('/'); });
  if (negated_ && !namesSlash) last += '/';
  if (hyphen) last += '-';
  return text;
}

std::string BracketSet::expression() const {
  // regcomp has to refuse it, whichever bytes its ends are.
  if (reversed_) return "[z-a]";
  const bool closeFirst =
      std::any_of(ranges_.begin(), ranges_.end(), [](const Range& range) { return range.endsAt(']'); });
  std::string last;
  std::string text = members(closeFirst, last);
  if (text.empty() && !closeFirst && !negated_ && last.starts_with('^')) {
    return last == "^" ? "\\^" : "[-^]";
  }
  return std::string(negated_ ? "[^" : "[") + (closeFirst ? "]" : "") + text + last + "]";
}

/// The work of one translation.
class Translation {
 public:
  explicit Translation(const std::string& text) : text_(text) {}

  std::string run(int32_t& anchor);

 private:
  bool isEverything() const {
    return text_.empty() || text_ == "%" || text_ == "%/" || text_ == "/%" || text_ == "/%/";
  }
  void translateComponents();
  void translateComponent();
  void translateBracket();
  bool readSetByte(unsigned char& byte);
  void refuseFrom(size_t bracket);

  void appendLiteral(char byte) {
    if (std::string_view(".*[^$").find(byte) != std::string_view::npos) result_ += '\\';
    result_ += byte;
  }
  // The slash that ends the last component isn't part of the expression.
  void stripSlash() {
    if (result_.size() > 1) result_.pop_back();
  }

  std::string text_;
  size_t position_ = 0;
  std::string result_ = "^";
  int32_t components_ = 0;  // -1 once a "%/" stands inside
  bool strip_ = true;
  bool refused_ = false;  // a set that has no end, or no member
};

std::string Translation::run(int32_t& anchor) {
  if (isEverything()) return {};
  const bool floating = text_.starts_with("%/") || text_.starts_with("/%/");
  if (floating) position_ = text_[0] == '%' ? 2 : 3;
  anchor = !floating && text_[0] == '/' ? ANCHOR_ABSOLUTE : ANCHOR_RELATIVE;
  if (!text_.ends_with('/')) text_ += '/';
  translateComponents();
  if (strip_ && !refused_) stripSlash();
  result_ += '$';
  if (floating && components_ > 0) anchor = -components_;
  if (floating && components_ < 0) result_.insert(1, ANY_COMPONENTS);
  return std::move(result_);
}

void Translation::translateComponents() {
  while (position_ < text_.size() && !refused_) {
    if (text_.compare(position_, 2, "%/") != 0) {
      translateComponent();
      if (components_ >= 0) ++components_;
      continue;
    }
    position_ += 2;
    components_ = -1;
    if (position_ < text_.size()) {
      result_ += ANY_COMPONENTS;
    } else {
      stripSlash();
      strip_ = false;
      result_ += ALL_BELOW;
    }
  }
}

void Translation::translateComponent() {
  while (position_ < text_.size()) {
    const char byte = text_[position_++];
    switch (byte) {
      case '/':
        result_ += '/';
        return;
      case '[':
        translateBracket();
        if (refused_) return;
        break;
      case '?':
        result_ += "[^/]";
        break;
      case '*':
        result_ += "[^/]*";
        break;
      case '\\':
        // The text ends in a slash: there always is an escaped byte. A slash ends its component, escaped or
        // not.
        if (text_[position_] == '/') {
          result_ += '/';
          ++position_;
          return;
        }
        appendLiteral(unescaped(text_[position_++]));
        break;
      default:
        appendLiteral(byte);
        break;
    }
  }
}

// `position_` stands behind the "[".
void Translation::translateBracket() {
  const size_t bracket = position_ - 1;
  const bool negated = text_[position_] == '!' || text_[position_] == '^';
  if (negated) ++position_;
  BracketSet set(negated);
  for (const size_t first = position_; position_ == first || text_[position_] != ']';) {
    unsigned char low = 0;
    if (!readSetByte(low)) return refuseFrom(bracket);
    const bool isRange = text_.compare(position_, 1, "-") == 0 && text_.compare(position_ + 1, 1, "]") != 0;
    if (isRange) {
      ++position_;
      unsigned char high = 0;
      if (!readSetByte(high)) return refuseFrom(bracket);
      set.addRange(low, high);
      // Neither the begin of another range nor a member.
      if (text_.compare(position_, 1, "-") == 0 && text_.compare(position_ + 1, 1, "]") != 0) ++position_;
    } else {
      set.addByte(low);
    }
  }
  ++position_;
  refused_ = set.empty();
  result_ += refused_ ? "[]" : set.expression();  // an end in first place is no end: regcomp refuses
}

// One byte of a set, written as itself or escaped. False where the text ends.
bool Translation::readSetByte(unsigned char& byte) {
  const bool escaped = text_[position_] == '\\';
  if (escaped) ++position_;
  if (position_ >= text_.size()) return false;
  const char read = text_[position_++];
  byte = static_cast<unsigned char>(escaped ? unescaped(read) : read);
  return true;
}

// A set without its end stands in the expression as it was read, for whoever looks at the error. An escaped
// "]" is left out: to regcomp it would be the end.
void Translation::refuseFrom(size_t bracket) {
  std::string asRead = text_.substr(bracket, text_.size() - bracket - 1);
  if (asRead.size() > 1 && asRead[1] == '!') asRead[1] = '^';
  for (size_t escaped = 0; (escaped = asRead.find("\\]", escaped)) != std::string::npos;) {
    asRead.erase(escaped, 2);
  }
  result_ += asRead;
  refused_ = true;
}

}  // namespace

pathmatch::pathmatch(std::string pattern) : text_(std::move(pattern)) {
  replaceByte(text_, '\\', '/');
  replaceByte(text_, '&', '\\');
}

bool pathmatch::isAbsolute() const {
  TRACE(TR_ENTER, "Enter: %s\n", "pathmatch::isAbsolute()");
  const bool absolute = text_.starts_with('/');
  TRACE(TR_EXIT, "Exit: %s, rc: %d\n", "pathmatch::isAbsolute()", absolute ? 1 : 0);
  return absolute;
}

std::string pathmatch::translate(int32_t& anchor) const {
  TRACE_SCOPE("pathmatch::translate()");
  return Translation(text_).run(anchor);
}

void pathmatch::replaceByte(std::string& text, char from, char to) {
  std::replace(text.begin(), text.end(), from, to);
}

}  // namespace agent
