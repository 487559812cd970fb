#include "QLMlib/common/nls/Catalog.h"

#include <sys/stat.h>

#include <gmock/gmock.h>

#include "QLMlib/common/nls/LogPrintf.h"
#include "QLMlib/common/nls/MessageCatalogs.h"
#include "QLMlib/common/nls/Messages.h"
#include "QLMlib/common/ut/GlobalRC.h"
#include "QLMlib/common/ut/LogFile.h"
#include "QLMlib/common/ut/Trace.h"
#include "QLMlib/common/ut/TraceFile.h"
#include "qlmlib/TestFiles.h"

namespace agent::test {
namespace {

using ::testing::HasSubstr;

/// Catalogs of the test's own, compiled by gencat.
class CatalogTest : public FilesTest {
 protected:
  CatalogTest() { ::setenv("LC_MESSAGES", "C", 1); }
  ~CatalogTest() override {
    closeMessages();
    closeTrace();
    zemLocale.clear();
    errorLogFile = nullptr;
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
      {"STA0540T Largest Files", 1, "Largest Files"},
      {"STA0139R text", 2, "text"},
      {"STA0139K text", 3, "STA0139K text"},
      {"STA0139I text", 4, "STA0139I text"},
      {"STA0139W text", 5, "STA0139W text"},
      {"STA0139E text", 6, "STA0139E text"},
      {"STA0139S text", 7, "STA0139S text"},
      {"STA0139L text", 8, "text"},
      {"STA0139T  two blanks", 1, " two blanks"},
      {"STA0139T", 1, ""},
      {"STA10139W text", 5, "STA0139W text"},  // five digits are stored as four
      {"STA0139M text", -2, ""},
      {"STA0139A text", -1, ""},
      {"STA0139e text", -1, ""},
      {"STA0139 text", -1, ""},
      {"The file is gone", -1, ""},
      {"FileEmpty", -1, ""},
      {"STA0139", -1, ""},
      {"STA", -1, ""},
      {"", -1, ""},
      {"STA0139W text\x12"
       "ab",
       5, "STA0139W text"},  // format information behind byte 18
      {"STA0139W text\x12", 5, "STA0139W text"},
      {"STA0139W a\x12"
       "bcdefgh",
       5,
       "STA0139W a\x12"
       "bcdefgh"},  // too far from the end to be one
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
  EXPECT_STREQ(parseCatalogEntry(1,
                                 "STA0139W text\x12"
                                 "abcdef",
                                 corrupt)
                   ->formatInfo.data(),
               "abcdef");
}

TEST_F(CatalogTest, MessagesComeFromTheCatalogOfTheirFamily) {
  compile("en_US", "300 \"STA0300W job: %1$s\"\n301 \"STA0301T label\"\n302 \"no identifier\"\n");
  compile("en_US", "300 \"ZNS0300E library: %1$s\"\n", "zemclientV3.cat");
  ASSERT_EQ(open(), 0);
  EXPECT_EQ(formatMessage(300, "STA0300W", {std::string("x")}), "STA0300W job: x");
  EXPECT_EQ(formatMessage(300, "ZNS0300E", {std::string("x")}), "ZNS0300E library: x");
  EXPECT_EQ(messageText(300, "STA0300W"), "STA0300W job: %1$s");
  EXPECT_EQ(messageText(301, "STA0301T"), "label");
  for (const uint32_t absent : {0u, 302u, 303u, 65536u + 300u, 0xffffffffu}) {
    EXPECT_EQ(formatMessage(absent, "STA0303W", {}), "") << absent;
  }
  closeMessages();
  EXPECT_EQ(formatMessage(300, "STA0300W", {}), "");
}

TEST_F(CatalogTest, WithoutTheLibrarysCatalogOnlyItsMessagesAreMissing) {
  compile("en_US", "300 \"STA0300I text\"\n");
  ::testing::internal::CaptureStderr();
  ASSERT_EQ(open(), 0);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(messageText(300, "STA0300I"), "STA0300I text");
  EXPECT_EQ(messageText(263, "ZNS0263E"), "");
}

TEST_F(CatalogTest, ALanguageIsAskedFirstAndEnglishFillsItsGaps) {
  compile("en_US", "300 \"STA0300T English\"\n301 \"STA0301T only English\"\n");
  compile("de_DE", "300 \"STA0300T deutsch\"\n");
  zemLocale = "de_AT.UTF-8";
  ASSERT_EQ(open(), 0);
  EXPECT_EQ(messageText(300, "STA0300T"), "deutsch");
  EXPECT_EQ(messageText(301, "STA0301T"), "only English");
  EXPECT_EQ(messageText(300, "STA0300T"), "deutsch");  // the flag holds for one look-up
}

TEST_F(CatalogTest, LanguagesHaveDirectories) {
  struct Case {
    const char *language, *directory;
  };
  const Case cases[] = {{"zh_TW.BIG5", "Zh_TW"},  {"zh_TW", "zh_CN"},   {"Zh", "Zh_CN"},
                        {"ja_JP.UTF-8", "ja_JP"}, {"Ja_JP", "Ja_JP"},   {"pt", "pt_BR"},
                        {"C", "en_US"},           {"", "en_US"},        {"nl_NL", "en_US"},
                        {"deutsch", "en_US"},     {"de.UTF-8", "de_DE"}};
  for (const Case& c : cases) EXPECT_EQ(languageDirectory(c.language), c.directory) << c.language;
}

TEST_F(CatalogTest, CatalogsThatCannotBeOpenedAreToldOnStandardError) {
  ::testing::internal::CaptureStderr();
  EXPECT_NE(open(), 0);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "ZNS0101E Unable to open English message repository '" + catalogPath("en_US") + "'.\n");

  compile("en_US", "300 \"STA0300T English\"\n");
  zemLocale = "fr_FR";
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(open(), 0);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "ZNS0102W Unable to open the message repository " +
                                                          catalogPath("fr_FR") +
                                                          ". The American English repository will be used "
                                                          "instead.\n");
  EXPECT_EQ(messageText(300, "STA0300T"), "English");
}

TEST_F(CatalogTest, APathThatIsTooLongIsRefused) {
  ::testing::internal::CaptureStderr();
  EXPECT_NE(initializeMessages("nrvna.cat", path(std::string(1300, 'd')), 0, 0, 0), 0);
  ::testing::internal::GetCapturedStderr();
}

TEST_F(CatalogTest, TheLeastRecentlyUsedMessageLeavesAFullCache) {
  std::string entries;
  for (std::size_t i = 0; i <= nlsObject_t::maxCachedMessages; ++i) {
    entries += std::to_string(300 + i) + " \"STA0" + std::to_string(300 + i) + "T text\"\n";
  }
  compile("en_US", entries);
  ASSERT_EQ(open(), 0);
  for (uint32_t i = 0; i < nlsObject_t::maxCachedMessages; ++i) messageText(300 + i, "STA");
  messageText(300, "STA");  // a hit: 301 is the oldest now

  ASSERT_EQ(initializeTrace(path("job.trace"), "", 1024), 0);
  TR_NLS.set(true);
  messageText(300 + nlsObject_t::maxCachedMessages, "STA");
  messageText(300, "STA");
  closeTrace();
  const std::string trace = readFile(path("job.trace"));
  EXPECT_THAT(trace, HasSubstr("Deleting message: 301 from the cache.\n"));
  EXPECT_THAT(trace, HasSubstr("Found message: 300 in cache.\n"));
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
      formatMessage(number, "STA0300W", {std::string("x")});
    }
    closeMessages();
    ::testing::internal::GetCapturedStderr();
  };
  for (std::size_t length = 0; length < whole.size(); ++length) use(whole.substr(0, length));
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const int value : {0x00, 0x01, 0x7f, 0xff}) {
      std::string bytes = whole;
      bytes[at] = static_cast<char>(value);
      use(bytes);
    }
  }
  use(std::string(4096, '\0'));
  use(std::string(4096, '\xff'));
}

TEST_F(CatalogTest, APipeInACatalogsPlaceHangsNobody) {
  std::filesystem::create_directories(path("en_US"));
  ASSERT_EQ(::mkfifo(catalogPath("en_US").c_str(), 0600), 0);
  ::testing::internal::CaptureStderr();
  EXPECT_NE(open(), 0);
  ::testing::internal::GetCapturedStderr();
}

TEST_F(CatalogTest, IssuedMessagesFeedTheGlobalReturnCodeAndTextsDoNot) {
  compile("en_US", "300 \"STA0300I text\"\n301 \"STA0301W text\"\n302 \"STA0302E text\"\n");
  compile("en_US", "267 \"ZNS0267E text\"\n", "zemclientV3.cat");
  ASSERT_EQ(open(), 0);
  struct Case {
    uint32_t number;
    const char* identifier;
    int32_t code;
  };
  const Case cases[] = {{300, "STA0300I", 0}, {301, "STA0301W", 8},  {302, "STA0302E", 12},
                        {303, "STA0303E", 0}, {267, "ZNS0267E", 12}, {201, "ZNS0201W", 4}};
  for (const Case& c : cases) {
    gRC->clearAllRC();
    messageText(c.number, c.identifier);
    EXPECT_EQ(gRC->get(), 0) << c.number;
    formatMessage(c.number, c.identifier, {});
    EXPECT_EQ(gRC->get(), c.code) << c.number;
  }
  EXPECT_EQ(messageSeverity(303), 255);

  const MutexHandle taken = std::move(nls_mutex);  // a lock that can't be had
  EXPECT_EQ(messageSeverity(300), 6);
  EXPECT_EQ(formatMessage(300, "STA0300I", {}), "");
  nls_mutex = pkCreateMutex();
}

TEST_F(CatalogTest, AMessageIsPrintedAndLoggedAsItsFlagsSay) {
  compile("en_US", "300 \"STA0300W lost %1$s\"\n301 \"STA0301I found %1$s\"\n");
  ASSERT_EQ(open(), 0);
  LogFile log({.path = path("error.log")});
  ASSERT_EQ(log.open(), 0);
  errorLogFile = &log;
  std::array<char, 64> buffer{};
  const auto issue = [&](uint32_t number, uint32_t flags, std::span<char> into) {
    return nlLogPrintf(
        {.number = number, .identifier = "STA", .flags = flags, .inserts = {std::string("it")}}, into);
  };

  ::testing::internal::CaptureStdout();
  EXPECT_EQ(issue(300, logPrintLineFeed | logPrintStandardOut | logPrintInserts | logPrintBySeverity, buffer),
            17);
  EXPECT_STREQ(buffer.data(), "STA0300W lost it\n");
  EXPECT_EQ(issue(301, logPrintLineFeed | logPrintInserts | logPrintBySeverity, buffer), 18);  // below W
  EXPECT_EQ(issue(301, logPrintLineFeed | logPrintInserts | logPrintErrorLog, buffer), 18);
  EXPECT_EQ(issue(301, logPrintStandardOut | logPrintInserts, std::span(buffer).first(8)), -1);
  EXPECT_EQ(issue(302, logPrintStandardOut, buffer), 0);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "STA0300W lost it\n");
  EXPECT_EQ(readFile(path("error.log")), "STA0300W lost it\nSTA0301I found it\n");
}

TEST_F(CatalogTest, ShippedCatalogsHoldEveryMessageUnderItsIdentifier) {
  ASSERT_EQ(initializeMessages("nrvna.cat", SHIPPED_CATALOGS, 0, 0, 0), 0);
  struct Case {
    uint32_t number;
    const char* identifier;
  };
  const Case kept[] = {
      {301, "STA0001E"},  {325, "STA0025I"},  {326, "STA0026I"},  {327, "STA0027I"},  {328, "STA0028I"},
      {363, "STA0063E"},  {369, "STA0069W"},  {394, "STA0094E"},  {395, "STA0095E"},  {396, "STA0096E"},
      {397, "STA0097E"},  {398, "STA0098E"},  {399, "STA0099E"},  {403, "STA0103W"},  {421, "STA0121E"},
      {436, "STA0135W"},  {440, "STA0139W"},  {462, "STA0161I"},  {714, "STA0430E"},  {722, "STA0620E"},
      {724, "STA0622E"},  {872, "STA0647E"},  {1141, "AGT0143I"}, {1142, "AGT0144I"}, {1144, "AGT0146I"},
      {1750, "AGT0397E"}, {1751, "AGT0398E"}, {2093, "NAA0039W"}, {2233, "STA0529E"}, {2234, "STA0530E"},
      {2236, "STA0531E"}, {2237, "STA0532I"}, {101, "ZNS0101E"},  {102, "ZNS0102W"},  {105, "ZNS0105E"},
      {106, "ZNS0106E"},  {109, "ZNS0109E"},  {250, "ZNS0250E"},  {263, "ZNS0263E"},  {264, "ZNS0264E"},
      {265, "ZNS0265E"},  {267, "ZNS0267E"},  {9999, "ZNS9999E"}};
  for (const Case& c : kept)
    EXPECT_EQ(messageText(c.number, c.identifier).substr(0, 9), std::string(c.identifier) + " ");
  for (uint32_t number = 201; number <= 267; ++number) EXPECT_NE(messageSeverity(number), 255) << number;
  EXPECT_EQ(messageText(1111, "ZNS1111M"), "");
  EXPECT_EQ(
      formatMessage(714, "STA0430E", {std::string("/in/a.dat"), std::string("line 3 is cut off")}),
      "STA0430E The scan definition \"/in/a.dat\" can't be used: line 3 is cut off. The job ends without a "
      "result.");
  EXPECT_EQ(messageText(2387, "STA0547T"), "Largest Files");
  for (uint32_t number = 2380; number <= 2396; ++number)
    EXPECT_NE(messageText(number, "STA0540T"), "") << number;

  const std::string usage = messageText(2232, "STA0528T");
  for (const char* word : {"scan", "version", "agentcom", "debug", "jobname", "jobrunnumber", "maxlogsize",
                           "maxnumlogs", "maxnumruns", "maxnumdays", "nfstimeout", "serverip", "servername",
                           "serverport", "sidrunnumber", "profile"}) {
    EXPECT_THAT(usage, HasSubstr(std::string("\n  -") + word + " "));
  }
}

}  // namespace
}  // namespace agent::test
