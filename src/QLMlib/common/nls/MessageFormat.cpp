#include "QLMlib/common/nls/MessageFormat.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "QLMlib/common/ut/Trace.h"

namespace agent {
namespace {

constexpr std::string_view INSERT_LETTERS = "cdeEfgGiopsuxX";
constexpr std::string_view MISSING_INSERT = "<NULL>";
constexpr size_t WIDTH_LIMIT = 512;

struct Conversion {
  size_t position = 0;  // number of the insert, from 1; 0: the next one
  std::string flags;
  size_t width = 0;
  bool hasPrecision = false;
  size_t precision = 0;
  char letter = 0;
};

/// Reads digits at `at`; a number beyond the limit is held there.
size_t readNumber(std::string_view text, size_t& at) {
  size_t number = 0;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
    number = std::min(number * 10 + static_cast<size_t>(text[at] - '0'), WIDTH_LIMIT);
  }
  return number;
}

/// Reads one conversion; `at` stands behind the percent sign and is left behind the letter. The letter is 0
/// where the text ends before it.
Conversion readConversion(std::string_view text, size_t& at) {
  Conversion conversion;

  size_t ahead = at;
  const size_t number = readNumber(text, ahead);
  if (ahead > at && ahead < text.size() && text[ahead] == '$') {
    conversion.position = number;
    at = ahead + 1;
  }
  while (at < text.size() && std::string_view("-+ #0").find(text[at]) != std::string_view::npos) {
    if (conversion.flags.find(text[at]) == std::string::npos) conversion.flags += text[at];
    ++at;
  }
  conversion.width = readNumber(text, at);
  if (at < text.size() && text[at] == '.') {
    conversion.hasPrecision = true;
    conversion.precision = readNumber(text, ++at);
  }
  while (at < text.size() && std::string_view("hlLqjzt").find(text[at]) != std::string_view::npos) ++at;
  if (at < text.size()) conversion.letter = text[at++];
  return conversion;
}

std::string pad(std::string text, const Conversion& conversion) {
  if (text.size() >= conversion.width) return text;
  const size_t missing = conversion.width - text.size();
  if (conversion.flags.find('-') != std::string::npos) return text.append(missing, ' ');
  return text.insert(0, missing, ' ');
}

/// Lets printf make one number, by a format that is built here from checked parts only.
template <typename Number>
std::string printNumber(const Conversion& conversion, const char* length, char letter, Number number) {
  std::string format = "%" + conversion.flags;
  if (conversion.width != 0) format += std::to_string(conversion.width);
  if (conversion.hasPrecision) format += "." + std::to_string(conversion.precision);
  format += length;
  format += letter;
  std::array<char, 2 * WIDTH_LIMIT + 512> buffer;  // the largest double has 309 digits before its point
  const int size = std::snprintf(buffer.data(), buffer.size(), format.c_str(), number);
  if (size < 0) return "";
  return std::string(buffer.data(), std::min(static_cast<size_t>(size), buffer.size() - 1));
}

bool isOneOf(char letter, std::string_view letters) {
  return letters.find(letter) != std::string_view::npos;
}

std::string insertText(const Conversion& conversion, const std::string& text) {
  if (conversion.letter == 'c') return pad(text.substr(0, 1), conversion);
  const bool cut = conversion.letter == 's' && conversion.hasPrecision;
  return pad(cut ? text.substr(0, conversion.precision) : text, conversion);
}

std::string insertInteger(const Conversion& conversion, int64_t number) {
  if (conversion.letter == 'c') return pad(std::string(1, static_cast<char>(number)), conversion);
  if (conversion.letter == 'p') return printNumber(conversion, "ll", 'x', static_cast<long long>(number));
  if (isOneOf(conversion.letter, "diouxX")) {
    return printNumber(conversion, "ll", conversion.letter, static_cast<long long>(number));
  }
  return pad(std::to_string(number), conversion);
}

std::string insertInteger(const Conversion& conversion, uint64_t number) {
  // A large unsigned value under "%d" stays what it is.
  if (isOneOf(conversion.letter, "di")) {
    return printNumber(conversion, "ll", 'u', static_cast<unsigned long long>(number));
  }
  if (isOneOf(conversion.letter, "ouxX")) {
    return printNumber(conversion, "ll", conversion.letter, static_cast<unsigned long long>(number));
  }
  if (conversion.letter == 'c') return insertInteger(conversion, static_cast<int64_t>(number));
  if (conversion.letter == 'p') {
    return printNumber(conversion, "ll", 'x', static_cast<unsigned long long>(number));
  }
  return pad(std::to_string(number), conversion);
}

std::string insertDouble(const Conversion& conversion, double number) {
  const bool fits = isOneOf(conversion.letter, "eEfgG");
  return printNumber(conversion, "", fits ? conversion.letter : 'g', number);
}

std::string insertItem(const Conversion& conversion, const MessageInsert& insert) {
  if (const auto* text = std::get_if<std::string>(&insert)) return insertText(conversion, *text);
  if (const auto* number = std::get_if<int64_t>(&insert)) return insertInteger(conversion, *number);
  if (const auto* number = std::get_if<uint64_t>(&insert)) return insertInteger(conversion, *number);
  return insertDouble(conversion, std::get<double>(insert));
}

}  // namespace

std::string insertItems(std::string_view format, const MessageInserts& inserts) {
  std::string text;
  size_t next = 1;
  for (size_t at = 0; at < format.size();) {
    const size_t percent = std::min(format.find('%', at), format.size());
    text.append(format.substr(at, percent - at));
    if (percent == format.size()) break;
    at = percent + 1;

    const Conversion conversion = readConversion(format, at);
    if (conversion.letter == '%') {
      text += '%';
    } else if (conversion.letter == 0 || !isOneOf(conversion.letter, INSERT_LETTERS)) {
      TRACE(TR_MIN, "nlInsertItem: unsupported type %d\n", conversion.letter);
    } else {
      const size_t position = conversion.position != 0 ? conversion.position : next++;
      text += position <= inserts.size() ? insertItem(conversion, inserts[position - 1])
                                         : std::string(MISSING_INSERT);
    }
  }
  return text;
}

}  // namespace agent
