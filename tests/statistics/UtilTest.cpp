#include "Scan/statistics/Util.h"

#include <gtest/gtest.h>

#include "QLMlib/common/nls/MessageCatalogs.h"
#include "QLMlib/common/nls/Messages.h"

namespace agent {

TEST(UtilTest, ASingleBlankIsEmptyAndLettersAreBytes) {
  EXPECT_TRUE(Util::isEmpty(" "));
  EXPECT_FALSE(Util::isEmpty("  "));
  EXPECT_TRUE(Util::stringsEqual(" ", ""));
  EXPECT_TRUE(Util::stringsEqualIgnoreCase(" ", ""));
  EXPECT_TRUE(Util::stringsEqualIgnoreCase("aB", "Ab"));
  EXPECT_FALSE(Util::stringsEqualIgnoreCase("aB", "AbC"));
  EXPECT_FALSE(Util::stringsEqualIgnoreCase("\xC4", "\xE4"));
}

TEST(UtilTest, NamesOfTheServersStatisticsBecomeTextsOfTheCatalog) {
  EXPECT_EQ(Util::getTranslatedName("NRVUser.SQL_NAME_WASTED"), "NRVUser.SQL_NAME_WASTED");  // no catalog
  ASSERT_EQ(initializeMessages("nrvna.cat", SCAN_NLS_DIRECTORY, 1, 1, 0), 0);
  uint32_t number = 2380;
  for (const char* const name :
       {"SQL_NAME_ATRISK", "SQL_NAME_BYACCESS", "SQL_NAME_BYCREATION", "SQL_NAME_BYMODIFICATION",
        "SQL_NAME_BYMOD", "SQL_NAME_FILE_SIZE", "SQL_NAME_LARGESTDIR", "SQL_NAME_LARGESTFILES",
        "SQL_NAME_LARGESTORPHANS", "SQL_NAME_OBSOLETEFILES", "SQL_NAME_OLDESTORPHANS",
        "SQL_NAME_SUMMARY_FILEEXT", "SQL_NAME_SUMMARY_FILESYS", "SQL_NAME_SUMMARY_GROUP",
        "SQL_NAME_SUMMARY_OWNER", "SQL_NAME_TEMPFILES", "SQL_NAME_WASTED"}) {
    const std::string text = messageText({number++, "STA"});
    ASSERT_NE(text, "") << name;
    for (const std::string prefix : {"", "NRVUser.", "NRVDiskUser.", "NRVFabricUser.", "NRVTapeUser."}) {
      EXPECT_EQ(Util::getTranslatedName(prefix + name), prefix + text);
    }
  }
  for (const char* const other :
       {"", "SQL_NAME_", "SQL_NAME_UNKNOWN", "NRVUser.", "NRVUser.mine", "NRVUserSQL_NAME_WASTED",
        "Other.SQL_NAME_WASTED", "my SQL_NAME_WASTED", "SQL_NAME_WASTED2"}) {
    EXPECT_EQ(Util::getTranslatedName(other), other);
  }
  closeMessages();
}

}  // namespace agent
