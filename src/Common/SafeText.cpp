#include "Common/SafeText.h"

#include <algorithm>
#include <cstdio>

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

/// True for characters that a terminal acts upon or that turn the text around: C0, DEL, C1, and the marks
/// that set the direction of writing (U+200E, U+200F, U+202A to U+202E, U+2066 to U+2069).
bool isControl(std::string_view sequence) {
  const auto at = [&](size_t i) { return static_cast<unsigned char>(sequence[i]); };
  if (sequence.size() == 1) return at(0) < 0x20 || at(0) == 0x7F;
  if (sequence.size() == 2) return at(0) == 0xC2 && at(1) < 0xA0;
  if (sequence.size() != 3 || at(0) != 0xE2) return false;
  if (at(1) == 0x80) return at(2) == 0x8E || at(2) == 0x8F || (at(2) >= 0xAA && at(2) <= 0xAE);
  return at(1) == 0x81 && at(2) >= 0xA6 && at(2) <= 0xA9;
}

void appendEscaped(std::string& text, std::string_view bytes) {
  char escaped[5];
  for (const char byte : bytes) {
    snprintf(escaped, sizeof escaped, "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
    text += escaped;
  }
}

}  // namespace

std::string safeText(std::string_view bytes) {
  std::string text;
  while (!bytes.empty()) {
    const size_t length = sequenceLength(bytes);
    const std::string_view sequence = bytes.substr(0, std::max<size_t>(length, 1));
    if (length == 0 || isControl(sequence)) {
      appendEscaped(text, sequence);
    } else if (sequence == "\\") {
      text += "\\\\";
    } else {
      text += sequence;
    }
    bytes.remove_prefix(sequence.size());
  }
  return text;
}

size_t displayWidth(std::string_view text) {
  return static_cast<size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string fit(const std::string& text, size_t width) {
  const size_t columns = displayWidth(text);
  if (columns <= width || width < 8) return text;
  const auto offsetOf = [&](size_t column) {
    size_t offset = 0;
    for (size_t seen = 0; offset < text.size(); ++offset) {
      if ((text[offset] & 0xC0) != 0x80 && seen++ == column) break;
    }
    return offset;
  };
  const size_t head = (width - 2) / 3;
  const size_t tail = width - 2 - head;
  return text.substr(0, offsetOf(head)) + ".." + text.substr(offsetOf(columns - tail));
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
