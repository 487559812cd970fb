#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace agent {

/// String helpers, and the names by which the server knows its own statistics.
class Util {
 public:
  static constexpr const char* NRV_USER = "NRVUser";
  static constexpr const char* NRV_FABRIC_USER = "NRVFabricUser";
  static constexpr const char* NRV_DISK_USER = "NRVDiskUser";
  static constexpr const char* NRV_TAPE_USER = "NRVTapeUser";

  /// True for an empty text and for a single blank, which is how the server writes one.
  static bool isEmpty(std::string_view text);

  /// The next run of characters other than blanks, from `position` on; empty when there is none.
  static std::string nextWord(std::string_view text, size_t position);

  // Two texts that are both empty in the above sense are equal.
  static bool stringsEqual(std::string_view a, std::string_view b);
  static bool stringsEqualIgnoreCase(std::string_view a, std::string_view b);  ///< ASCII letters only

  /// A statistic's name for people: names of the server's own statistics ("SQL_NAME_...") become the text of
  /// their catalog message, behind one of the prefixes above and a "." as well. Any other name, and one whose
  /// message no catalog holds, comes back as it is.
  static std::string getTranslatedName(std::string_view name);
};

}  // namespace agent
