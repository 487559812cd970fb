#include "QLMlib/common/nls/Catalog.h"

#include <sys/stat.h>

#include "QLMlib/common/nls/LogPrintf.h"
#include "QLMlib/common/nls/MessageCatalogs.h"
#include "QLMlib/common/nls/Messages.h"
#include "QLMlib/common/ut/GlobalRC.h"
#include "QLMlib/common/ut/LogFile.h"
#include "qlmlib/TestFiles.h"

namespace agent::test {
namespace {

/// Catalogs of the test's own, compiled by gencat.
class CatalogTest : public FilesTest {
 protected:
  CatalogTest() { ::setenv("LC_MESSAGES", "C", 1); }
  ~CatalogTest() override {
    closeMessages();
    zemLocale.clear();
  }

  std::string catalogPath(const std::string& language, const std::string& file = "nrvna.cat") const {
    return path(language + "/" + file);
  }

  void compile(const std::string& language, const std::string& entries,
               const std::string& file = "nrvna.cat") const {
    std::filesystem::create_directories(path(language));
    const std::string source = path("source.msg");
    writeFile(source, "$set 1\n$quote \"\n" + entries);
    std::filesystem::remove(catalogPath(language, file));
    ASSERT_EQ(std::system(("gencat " + catalogPath(language, file) + " " + source).c_str()), 0);
  }

  int open() const { return initializeMessages("nrvna.cat", path(), 0, 0, 0); }
};

TEST_F(CatalogTest, TheIdentifierDecidesWhatAnEntryIs) {
  constexpr int CORRUPT = -1, HIDDEN = -2;
  const std::tuple<const char*, int, const char*> cases[] = {
      {"STA0139Z text", 0, "text"},
      {"STA0139K text", 3, "STA0139K text"},
      {"STA0139S text", 7, "STA0139S text"},
      {"STA0139L text", 8, "text"},
      {"STA0139T  two blanks", 1, " two blanks"},
      {"STA10139W text", 5, "STA0139W text"},  // five digits are stored as four
      {"STA0139M text", HIDDEN, ""},
      {"STA0139A text", CORRUPT, ""},
      {"STA0139 text", CORRUPT, ""},
      {"STA0139", CORRUPT, ""},
      {"", CORRUPT, ""},
      {"STA0139W text\022ab", 5, "STA0139W text"},  // format information behind byte 18
      {"STA0139W text\022", 5, "STA0139W text"},
      {"STA0139W a\022bcdefgh", 5, "STA0139W a\022bcdefgh"},  // too far from the end to be one
  };
  for (const auto& [entry, severity, text] : cases) {
    bool corrupt = false;
    const std::optional<NLSMsg> message = parseCatalogEntry(440, entry, corrupt);
    EXPECT_EQ(message ? message->severity : corrupt ? CORRUPT : HIDDEN, severity) << entry;
    EXPECT_EQ(message ? message->text : "", text) << entry;
  }
  bool corrupt = false;
  EXPECT_STREQ(parseCatalogEntry(1, "STA0139W text\022abcdef", corrupt)->formatInfo.data(), "abcdef");
}

TEST_F(CatalogTest, MessagesComeFromTheCatalogOfTheirFamilyAndFeedTheGlobalReturnCode) {
  compile("en_US", "300 \"STA0300W job: %1$s\"\n301 \"STA0301T label\"\n302 \"no identifier\"\n");
  compile("en_US", "201 \"ZNS0201E\"\n267 \"ZNS0267E\"\n300 \"ZNS0300E library: %1$s\"\n", "zemclientV3.cat");
  ASSERT_EQ(open(), 0);
  const std::tuple<Message, const char*, int32_t> cases[] = {
      {{300, "STA0300W"}, "STA0300W job: x", 8},
      {{300, "ZNS0300E"}, "ZNS0300E library: x", 8},  // the number's own family decides about the code
      {{301, "STA0301T"}, "label", 0},
      {{201, "ZNS0201E"}, "ZNS0201E", 4},
      {{267, "ZNS0267E"}, "ZNS0267E", 12},
      {{0, "STA0000E"}, "", 0},
      {{302, "STA0302E"}, "", 0},
      {{303, "STA0303E"}, "", 0},
      {{65536 + 300, "STA0300W"}, "", 0},
      {{0xffffffff, "STA0303E"}, "", 0},
  };
  for (const auto& [message, text, code] : cases) {
    gRC->clearAllRC();
    messageText(message);
    EXPECT_EQ(gRC->get(), 0) << message.number;  // a text alone feeds nothing
    EXPECT_EQ(formatMessage(message, {std::string("x")}), text) << message.number;
    EXPECT_EQ(gRC->get(), code) << message.number;
  }
  EXPECT_EQ(messageText({300, "STA0300W"}), "STA0300W job: %1$s");
  EXPECT_EQ(messageSeverity(303), 255);
  closeMessages();
  EXPECT_EQ(formatMessage({300, "STA0300W"}, {}), "");
}

TEST_F(CatalogTest, ALanguageIsAskedFirstAndEnglishFillsItsGaps) {
  const std::pair<const char*, const char*> directories[] = {
      {"zh_TW.BIG5", "Zh_TW"}, {"zh_TW", "zh_CN"},   {"Zh", "Zh_CN"},      {"ja_JP.UTF-8", "ja_JP"},
      {"Ja_JP", "Ja_JP"},      {"pt", "pt_BR"},      {"C", "en_US"},       {"", "en_US"},
      {"nl_NL", "en_US"},      {"deutsch", "en_US"}, {"de.UTF-8", "de_DE"}};
  for (const auto& [language, directory] : directories) EXPECT_EQ(languageDirectory(language), directory);

  // More than the cache holds, so that texts come from it and from the file.
  constexpr uint32_t LAST = 301 + nlsObject_t::MAX_CACHED_MESSAGES;
  std::string entries;
  for (uint32_t i = 300; i <= LAST; ++i) {
    const std::string number = std::to_string(i);
    entries += number + " \"STA0" + number + "T English " + number + "\"\n";
  }
  compile("en_US", entries);
  compile("de_DE", "300 \"STA0300T deutsch\"\n");
  zemLocale = "de_AT.UTF-8";
  ASSERT_EQ(open(), 0);
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(messageText({300, "STA0300T"}), "deutsch");
    for (uint32_t i = 301; i <= LAST; ++i) {
      EXPECT_EQ(messageText({i, "STA"}), "English " + std::to_string(i));
    }
  }
}

TEST_F(CatalogTest, CatalogsThatCannotBeOpenedAreToldOnStandardError) {
  ::testing::internal::CaptureStderr();
  EXPECT_NE(open(), 0);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "ZNS0101E Unable to open English message repository '" + catalogPath("en_US") + "'.\n");

  compile("en_US", "300 \"STA0300T English\"\n");
  EXPECT_NE(initializeMessages("nrvna.cat", path() + std::string(1'300, '/'), 0, 0, 0), 0) << "too long";
  std::filesystem::create_directories(path("de_DE"));
  ASSERT_EQ(::mkfifo(catalogPath("de_DE").c_str(), 0600), 0);  // a pipe hangs nobody
  zemLocale = "de";
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(open(), 0);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "ZNS0102W Unable to open the message repository " + catalogPath("de_DE") +
                ". The American English repository will be used instead.\n");
}

TEST_F(CatalogTest, AMessageIsPrintedAndLoggedAsItsFlagsSay) {
  compile("en_US", "300 \"STA0300W lost %1$s\"\n301 \"STA0301I found %1$s\"\n");
  ASSERT_EQ(open(), 0);
  LogFile log({.path = path("error.log")});
  ASSERT_EQ(log.open(), 0);
  errorLogFile = &log;
  std::array<char, 64> buffer{};
  const auto issue = [&](uint32_t number, uint32_t flags, size_t room = 64) {
    return nlLogPrintf({number, "STA", flags | LOG_PRINT_LINE_FEED | LOG_PRINT_INSERTS, {std::string("it")}},
                       std::span(buffer).first(room));
  };

  ::testing::internal::CaptureStdout();
  EXPECT_EQ(issue(300, LOG_PRINT_STANDARD_OUT | LOG_PRINT_BY_SEVERITY), 17);
  EXPECT_EQ(issue(301, LOG_PRINT_BY_SEVERITY), 18);  // below W
  EXPECT_EQ(issue(301, LOG_PRINT_ERROR_LOG), 18);
  EXPECT_EQ(issue(301, LOG_PRINT_STANDARD_OUT, 8), -1);
  EXPECT_EQ(issue(302, LOG_PRINT_STANDARD_OUT), 0);
  errorLogFile = nullptr;
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "STA0300W lost it\n");
  EXPECT_EQ(content(path("error.log")), "STA0300W lost it\nSTA0301I found it\n");
}

}  // namespace
}  // namespace agent::test
