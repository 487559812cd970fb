#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <string_view>

#include <nl_types.h>

namespace agent {

inline constexpr uint8_t SEVERITY_NOT_FOUND = 255;

/// One message as the catalog gave it.
struct NLSMsg {
  uint16_t number = 0;
  uint8_t severity = 0;  // from the letter of its identifier: 0 Z, 1 T, 2 R, 3 K, 4 I, 5 W, 6 E, 7 S, 8 L
  std::array<char, 8> formatInfo{};  // what followed the marker byte 18 at the end of the entry
  std::string text;                  // with its identifier in front for severities 3 to 7
};

/// Reads a catalog entry: "STA0139W text", identifier first. Its letter gives the severity. An identifier
/// of more than four digits loses the first; severities 0, 1, 2 and 8 lose the identifier and the blank
/// behind it.
/// @return nothing for a corrupt entry or for one that its letter M marks as not retrievable
/// @param corrupt set for a corrupt entry
std::optional<NLSMsg> parseCatalogEntry(uint32_t number, std::string_view entry, bool& corrupt);

/// The directory of a language's catalogs: "de_DE.UTF-8" gives "de_DE". A name that the table does not hold
/// gives "en_US".
std::string languageDirectory(std::string_view language);

/// One open catalog file; closed with the object.
class CatalogFile {
 public:
  CatalogFile() = default;
  CatalogFile(const CatalogFile&) = delete;
  CatalogFile& operator=(const CatalogFile&) = delete;
  ~CatalogFile() { close(); }

  /// Opens `path` after a look at its tables: the system's own reader trusts their sizes, so that a damaged
  /// file would end the process.
  bool open(const std::string& path);
  void close();
  bool isOpen() const { return handle_ != noHandle(); }

  /// The entry of set 1, or null.
  const char* entry(uint32_t number) const;

 private:
  static nl_catd noHandle();
  nl_catd handle_ = noHandle();
};

/// The catalogs of one family of messages: the language's and the English one, each with a cache of parsed
/// messages in the order of their last use. The caller holds nls_mutex.
class nlsObject_t {
 public:
  static constexpr size_t MAX_CACHED_MESSAGES = 64;

  /// Opens <directory>/en_US/<file>, then the language's. Without the latter English serves for everything.
  /// @param languageFailure set to the path of a language catalog that could not be opened
  /// @return false if the English one could not be opened; `englishPath` names it
  bool open(const std::string& directory, const std::string& file, const std::string& language,
            std::string& englishPath, std::string& languageFailure);
  void close();

  /// @return the message, valid until the next call; null if there is none in the catalog asked
  const NLSMsg* GetMsg(uint32_t number);

  /// GetMsg, in English where the language has no such message.
  const NLSMsg* GetMsgOrEnglish(uint32_t number);

  /// Lets the next GetMsg use the English catalog.
  void useEnglishNext() { useEnglishNext_ = true; }

 private:
  struct CachedCatalog {
    CatalogFile file;
    std::list<NLSMsg> cache;  // most recently used first
  };
  static const NLSMsg* findCached(CachedCatalog& catalog, uint32_t number);
  static const NLSMsg* readMessage(CachedCatalog& catalog, uint32_t number);

  CachedCatalog language_;
  CachedCatalog english_;
  bool useEnglishNext_ = false;
};

}  // namespace agent
