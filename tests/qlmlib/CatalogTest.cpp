#include "QLMlib/common/nls/Catalog.h"

#include <sstream>

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
  struct Case {
    const char* entry;
    int severity;  // -1: corrupt, -2: not retrievable
    const char* text;
  };
  const Case cases[] = {
      {"STA0139Z text", 0, "text"},
      {"STA0139K text", 3, "STA0139K text"},
      {"STA0139S text", 7, "STA0139S text"},
      {"STA0139L text", 8, "text"},
      {"STA0139T  two blanks", 1, " two blanks"},
      {"STA10139W text", 5, "STA0139W text"},  // five digits are stored as four
      {"STA0139M text", -2, ""},
      {"STA0139A text", -1, ""},
      {"STA0139 text", -1, ""},
      {"The file is gone", -1, ""},
      {"STA0139", -1, ""},
      {"", -1, ""},
      {"STA0139W text\022ab", 5, "STA0139W text"},  // format information behind byte 18
      {"STA0139W text\022", 5, "STA0139W text"},
      {"STA0139W a\022bcdefgh", 5, "STA0139W a\022bcdefgh"},  // too far from the end to be one
  };
  for (const Case& c : cases) {
    bool corrupt = false;
    const std::optional<NLSMsg> message = parseCatalogEntry(440, c.entry, corrupt);
    EXPECT_EQ(corrupt, c.severity == -1) << c.entry;
    ASSERT_EQ(message.has_value(), c.severity >= 0) << c.entry;
    if (!message) continue;
    EXPECT_EQ(message->severity, c.severity) << c.entry;
    EXPECT_EQ(message->text, c.text) << c.entry;
  }
  bool corrupt = false;
  EXPECT_STREQ(parseCatalogEntry(1, "STA0139W text\022abcdef", corrupt)->formatInfo.data(), "abcdef");
}

TEST_F(CatalogTest, MessagesComeFromTheCatalogOfTheirFamilyAndFeedTheGlobalReturnCode) {
  compile("en_US", "300 \"STA0300W job: %1$s\"\n301 \"STA0301T label\"\n302 \"no identifier\"\n");
  compile("en_US", "201 \"ZNS0201E\"\n267 \"ZNS0267E\"\n300 \"ZNS0300E library: %1$s\"\n", "zemclientV3.cat");
  ASSERT_EQ(open(), 0);
  struct Case {
    Message message;
    const char* text;
    int32_t code;
  };
  const Case cases[] = {
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
  for (const Case& c : cases) {
    gRC->clearAllRC();
    messageText(c.message);
    EXPECT_EQ(gRC->get(), 0) << c.message.number;  // a text alone feeds nothing
    EXPECT_EQ(formatMessage(c.message, {std::string("x")}), c.text) << c.message.number;
    EXPECT_EQ(gRC->get(), c.code) << c.message.number;
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

  ::testing::internal::CaptureStderr();
  EXPECT_NE(initializeMessages("nrvna.cat", path(std::string(1300, 'd')), 0, 0, 0), 0);
  std::filesystem::create_directories(path("en_US"));
  ASSERT_EQ(::mkfifo(catalogPath("en_US").c_str(), 0600), 0);
  EXPECT_NE(open(), 0);  // a pipe hangs nobody
  ::testing::internal::GetCapturedStderr();
}

TEST_F(CatalogTest, ADamagedCatalogEndsInNoCrash) {
  compile("en_US",
          "300 \"STA0300W text %1$s\"\n301 \"STA0301T label\"\n302 \"x\"\n2232 \"STA0528T usage\"\n");
  const std::string whole = readFile(catalogPath("en_US"));
  const auto use = [&](const std::string& bytes) {
    writeFile(catalogPath("en_US"), bytes);
    ::testing::internal::CaptureStderr();
    open();
    for (const uint32_t number : {300u, 301u, 302u, 303u, 2232u}) {
      formatMessage({number, "STA0300W"}, {std::string("x")});
    }
    closeMessages();
    ::testing::internal::GetCapturedStderr();
  };
  for (size_t length = 0; length < whole.size(); ++length) use(whole.substr(0, length));
  for (size_t at = 0; at < whole.size(); ++at) {
    for (const int value : {0x00, 0x01, 0x7f, 0xff}) {
      std::string bytes = whole;
      bytes[at] = static_cast<char>(value);
      use(bytes);
    }
  }
  use(std::string(4096, '\0'));
  use(std::string(4096, '\xff'));
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
  EXPECT_EQ(readFile(path("error.log")), "STA0300W lost it\nSTA0301I found it\n");
}

TEST_F(CatalogTest, ShippedCatalogsHoldEveryMessageUnderItsIdentifier) {
  ASSERT_EQ(initializeMessages("nrvna.cat", SHIPPED_CATALOGS, 0, 0, 0), 0);
  std::istringstream kept(
      "301 STA0001E 325 STA0025I 326 STA0026I 327 STA0027I 328 STA0028I 363 STA0063E 369 STA0069W "
      "394 STA0094E 395 STA0095E 396 STA0096E 397 STA0097E 398 STA0098E 399 STA0099E 403 STA0103W "
      "421 STA0121E 436 STA0135W 440 STA0139W 462 STA0161I 714 STA0430E 722 STA0620E 724 STA0622E "
      "872 STA0647E 1141 AGT0143I 1142 AGT0144I 1144 AGT0146I 1750 AGT0397E 1751 AGT0398E 2093 NAA0039W "
      "2233 STA0529E 2234 STA0530E 2236 STA0531E 2237 STA0532I 2610 GEN0110E 101 ZNS0101E 102 ZNS0102W 105 "
      "ZNS0105E "
      "106 ZNS0106E 109 ZNS0109E 250 ZNS0250E 263 ZNS0263E 264 ZNS0264E 265 ZNS0265E 267 ZNS0267E "
      "9999 ZNS9999E");
  uint32_t number = 0;
  for (std::string identifier; kept >> number >> identifier;)
    EXPECT_EQ(messageText({number, identifier}).substr(0, 9), identifier + " ");
  for (number = 201; number <= 267; ++number) EXPECT_NE(messageSeverity(number), 255) << number;
  EXPECT_EQ(messageText({1111, "ZNS1111M"}), "");
}

}  // namespace
}  // namespace agent::test
