#include "Common/SafeText.h"

#include <locale.h>
#include <wchar.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace agent {

namespace {

/// Length of the UTF-8 sequence at the front, 0 when it isn't one (RFC 3629: no overlong forms, no
/// surrogates, nothing above U+10FFFF).
size_t sequenceLength(std::string_view bytes) {
  const auto at = [&](size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const unsigned char lead = at(0);
  const size_t length = lead < 0x80                   ? 1
                        : lead >= 0xC2 && lead < 0xE0 ? 2
                        : lead >= 0xE0 && lead < 0xF0 ? 3
                        : lead >= 0xF0 && lead < 0xF5 ? 4
                                                      : 0;
  if (length == 0 || bytes.size() < length) return 0;
  for (size_t i = 1; i < length; ++i) {
    if ((at(i) & 0xC0) != 0x80) return 0;
  }
  if (lead == 0xE0 && at(1) < 0xA0) return 0;
  if (lead == 0xED && at(1) > 0x9F) return 0;
  if (lead == 0xF0 && at(1) < 0x90) return 0;
  if (lead == 0xF4 && at(1) > 0x8F) return 0;
  return length;
}

char32_t codePoint(std::string_view sequence) {
  const auto at = [&](size_t i) { return static_cast<unsigned char>(sequence[i]); };
  if (sequence.size() == 1) return at(0);
  char32_t value = at(0) & (0x7FU >> sequence.size());
  for (size_t i = 1; i < sequence.size(); ++i) value = value << 6 | (at(i) & 0x3FU);
  return value;
}

struct Range {
  char32_t first;
  char32_t last;
};

/// Characters that a terminal acts upon, that turn the text around or that nobody sees, so that two names
/// look alike. Joiners (U+200C, U+200D) are not among them: words of several scripts are misspelled without.
constexpr Range ESCAPED[] = {
    {0x00, 0x1F},        // C0
    {0x7F, 0x9F},        // DEL, C1
    {0xAD, 0xAD},        // a hyphen that shows or doesn't
    {0x61C, 0x61C},      // direction of writing
    {0x180E, 0x180E},    // no width
    {0x200B, 0x200B},    // no width
    {0x200E, 0x200F},    // direction
    {0x2028, 0x202E},    // line and paragraph ends, direction
    {0x2060, 0x206F},    // no width, direction
    {0xFEFF, 0xFEFF},    // no width
    {0xFFF9, 0xFFFB},    // annotations
    {0xE0000, 0xE007F},  // tags
};

bool isEscaped(std::string_view sequence) {
  const char32_t character = codePoint(sequence);
  return std::any_of(std::begin(ESCAPED), std::end(ESCAPED), [character](const Range& range) {
    return character >= range.first && character <= range.last;
  });
}

/// The C library's own table of widths, which it has for locales alone: for the one of UTF-8 that every
/// Debian has, whatever locale the environment asks for.
class WidthTable {
 public:
  WidthTable() : locale_(newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{})) {}
  ~WidthTable() {
    if (locale_ != locale_t{}) freelocale(locale_);
  }
  WidthTable(const WidthTable&) = delete;
  WidthTable& operator=(const WidthTable&) = delete;

  /// One column for what the table doesn't know.
  size_t columns(char32_t character) const {
    if (character < 0x80 || locale_ == locale_t{}) return 1;
    const locale_t before = uselocale(locale_);  // of this thread alone
    const int width = wcwidth(static_cast<wchar_t>(character));
    uselocale(before);
    return width < 0 ? 1 : static_cast<size_t>(width);
  }

 private:
  locale_t locale_;
};

/// What stands together on a terminal, at the front of a safe text.
struct Cell {
  size_t length;  // bytes
  size_t columns;
};

/// An escape, or a character.
Cell firstCell(std::string_view text) {
  static const WidthTable WIDTHS;
  const auto isDigit = [text](size_t i) {
    return (text[i] >= '0' && text[i] <= '9') || (text[i] >= 'A' && text[i] <= 'F');
  };
  if (text.starts_with("\\x") && text.size() >= 4 && isDigit(2) && isDigit(3)) return {4, 4};
  if (text.starts_with("\\\\")) return {2, 2};
  const size_t length = sequenceLength(text);
  if (length == 0) return {1, 1};
  return {length, WIDTHS.columns(codePoint(text.substr(0, length)))};
}

void appendEscaped(std::string& text, std::string_view bytes) {
  char escaped[5];
  for (const char byte : bytes) {
    snprintf(escaped, sizeof escaped, "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
    text += escaped;
  }
}

}  // namespace

size_t harmlessLength(std::string_view bytes) {
  const size_t length = bytes.empty() ? 0 : sequenceLength(bytes);
  return length == 0 || isEscaped(bytes.substr(0, length)) ? 0 : length;
}

std::string inQuotes(std::string_view name) {
  return '"' + safeText(name) + '"';
}

void appendSafe(std::string& text, std::string_view& bytes, Backslash backslash) {
  const size_t harmless = harmlessLength(bytes);
  // All bytes of a character that is escaped, one alone of what is none.
  const std::string_view taken = bytes.substr(0, std::max<size_t>(sequenceLength(bytes), 1));
  if (harmless == 0) {
    appendEscaped(text, taken);
  } else {
    if (taken == "\\" && backslash == Backslash::DOUBLED) text += taken;
    text += taken;
  }
  bytes.remove_prefix(taken.size());
}

std::string safeText(std::string_view bytes, Backslash backslash) {
  std::string text;
  while (!bytes.empty()) appendSafe(text, bytes, backslash);
  return text;
}

size_t displayWidth(std::string_view text) {
  size_t columns = 0;
  while (!text.empty()) {
    const Cell cell = firstCell(text);
    columns += cell.columns;
    text.remove_prefix(cell.length);
  }
  return columns;
}

std::string fit(const std::string& text, size_t width) {
  if (width < 8 || displayWidth(text) <= width) return text;
  const size_t head = (width - 2) / 3;
  const size_t tail = width - 2 - head;
  std::string_view rest = text;
  size_t columns = 0;
  for (Cell cell = firstCell(rest); columns + cell.columns <= head; cell = firstCell(rest)) {
    columns += cell.columns;
    rest.remove_prefix(cell.length);
  }
  const std::string_view front = std::string_view(text).substr(0, text.size() - rest.size());
  for (columns = displayWidth(rest); columns > tail;) {
    const Cell cell = firstCell(rest);
    columns -= cell.columns;
    rest.remove_prefix(cell.length);
  }
  while (!rest.empty() && firstCell(rest).columns == 0) rest.remove_prefix(firstCell(rest).length);
  return std::string(front) + ".." + std::string(rest);
}

std::string grouped(int64_t number) {
  std::string digits = std::to_string(number);
  const size_t start = number < 0 ? 1 : 0;
  for (size_t at = digits.size(); at > start + 3;) {
    at -= 3;
    digits.insert(at, ",");
  }
  return digits;
}

}  // namespace agent
