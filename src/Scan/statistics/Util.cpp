#include "Scan/statistics/Util.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "QLMlib/common/nls/Messages.h"

namespace agent {

namespace {

struct NamedMessage {
  std::string_view name;
  uint32_t number;
  std::string_view identifier;
};

constexpr std::array<NamedMessage, 17> STATISTIC_NAMES = {{
    {"SQL_NAME_ATRISK", 2380, "STA0540T"},
    {"SQL_NAME_BYACCESS", 2381, "STA0541T"},
    {"SQL_NAME_BYCREATION", 2382, "STA0542T"},
    {"SQL_NAME_BYMODIFICATION", 2383, "STA0543T"},
    {"SQL_NAME_BYMOD", 2384, "STA0544T"},
    {"SQL_NAME_FILE_SIZE", 2385, "STA0545T"},
    {"SQL_NAME_LARGESTDIR", 2386, "STA0546T"},
    {"SQL_NAME_LARGESTFILES", 2387, "STA0547T"},
    {"SQL_NAME_LARGESTORPHANS", 2388, "STA0548T"},
    {"SQL_NAME_OBSOLETEFILES", 2389, "STA0549T"},
    {"SQL_NAME_OLDESTORPHANS", 2390, "STA0550T"},
    {"SQL_NAME_SUMMARY_FILEEXT", 2391, "STA0551T"},
    {"SQL_NAME_SUMMARY_FILESYS", 2392, "STA0552T"},
    {"SQL_NAME_SUMMARY_GROUP", 2393, "STA0553T"},
    {"SQL_NAME_SUMMARY_OWNER", 2394, "STA0554T"},
    {"SQL_NAME_TEMPFILES", 2395, "STA0555T"},
    {"SQL_NAME_WASTED", 2396, "STA0556T"},
}};

std::string translate(std::string_view name) {
  const auto* const known =
      std::find_if(STATISTIC_NAMES.begin(), STATISTIC_NAMES.end(),
                   [name](const NamedMessage& candidate) { return candidate.name == name; });
  if (known == STATISTIC_NAMES.end()) return std::string(name);
  std::string text = messageText(known->number, known->identifier);
  return text.empty() ? std::string(name) : text;
}

// Without tolower, which follows the locale.
unsigned char lowered(char c) {
  return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
}

}  // namespace

bool Util::isEmpty(std::string_view text) {
  return text.empty() || text == " ";
}

std::string Util::nextWord(std::string_view text, size_t position) {
  const size_t begin = text.find_first_not_of(' ', position);
  if (begin == std::string_view::npos) return {};
  const size_t end = text.find(' ', begin);
  return std::string(text.substr(begin, end == std::string_view::npos ? end : end - begin));
}

bool Util::stringsEqual(std::string_view a, std::string_view b) {
  if (isEmpty(a) || isEmpty(b)) return isEmpty(a) && isEmpty(b);
  return a == b;
}

bool Util::stringsEqualIgnoreCase(std::string_view a, std::string_view b) {
  if (isEmpty(a) || isEmpty(b)) return isEmpty(a) && isEmpty(b);
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char left, char right) { return lowered(left) == lowered(right); });
}

std::string Util::getTranslatedName(std::string_view name) {
  for (const char* const user : {NRV_USER, NRV_DISK_USER, NRV_FABRIC_USER, NRV_TAPE_USER}) {
    const std::string prefix = std::string(user) + ".";
    if (name.starts_with(prefix)) return prefix + translate(name.substr(prefix.size()));
  }
  return translate(name);
}

}  // namespace agent
