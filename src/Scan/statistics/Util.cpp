#include "Scan/statistics/Util.h"

#include <algorithm>
#include <array>

#include "Common/JobMessages.h"
#include "QLMlib/common/nls/Messages.h"

namespace agent {

namespace {

struct NamedMessage {
  std::string_view name;
  Message message;
};

constexpr std::array<NamedMessage, 17> STATISTIC_NAMES = {{
    {"SQL_NAME_ATRISK", messages::NAME_AT_RISK},
    {"SQL_NAME_BYACCESS", messages::NAME_BY_ACCESS},
    {"SQL_NAME_BYCREATION", messages::NAME_BY_CREATION},
    {"SQL_NAME_BYMODIFICATION", messages::NAME_BY_MODIFICATION},
    {"SQL_NAME_BYMOD", messages::NAME_NOT_BACKED_UP},
    {"SQL_NAME_FILE_SIZE", messages::NAME_BY_SIZE},
    {"SQL_NAME_LARGESTDIR", messages::NAME_LARGEST_DIRECTORIES},
    {"SQL_NAME_LARGESTFILES", messages::NAME_LARGEST_FILES},
    {"SQL_NAME_LARGESTORPHANS", messages::NAME_LARGEST_ORPHANS},
    {"SQL_NAME_OBSOLETEFILES", messages::NAME_OBSOLETE_FILES},
    {"SQL_NAME_OLDESTORPHANS", messages::NAME_OLDEST_ORPHANS},
    {"SQL_NAME_SUMMARY_FILEEXT", messages::NAME_BY_FILE_TYPE},
    {"SQL_NAME_SUMMARY_FILESYS", messages::NAME_BY_FILESYSTEM},
    {"SQL_NAME_SUMMARY_GROUP", messages::NAME_BY_GROUP},
    {"SQL_NAME_SUMMARY_OWNER", messages::NAME_BY_OWNER},
    {"SQL_NAME_TEMPFILES", messages::NAME_TEMPORARY_FILES},
    {"SQL_NAME_WASTED", messages::NAME_WASTED_SPACE},
}};

std::string translate(std::string_view name) {
  const auto* const known =
      std::find_if(STATISTIC_NAMES.begin(), STATISTIC_NAMES.end(),
                   [name](const NamedMessage& candidate) { return candidate.name == name; });
  if (known == STATISTIC_NAMES.end()) return std::string(name);
  std::string text = messageText(known->message);
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
