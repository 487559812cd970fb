#include "Common/LogManager.h"

#include <gmock/gmock.h>

#include <regex>
#include <sstream>
#include <thread>

#include "QLMlib/common/nls/MessageCatalogs.h"
#include "QLMlib/common/thrd/Thread.h"
#include "support/RefusedCalls.h"
#include "support/TemporaryDirectory.h"

namespace agent::test {
namespace {

constexpr const char* TIME = "[0-9]+/[0-9]+/[0-9]+ [0-9]+:[0-9]+:[0-9]+\\.[0-9][0-9][0-9] ";

class LogManagerTest : public testing::Test {
 protected:
  std::string path() const { return directory_ / "log/srv/scan.log"; }

  TemporaryDirectory directory_;
};

TEST_F(LogManagerTest, ALineIsDateTimeAndTextInOneWriteHoweverLongItIs) {
  LogManager log(path());
  RefusedCalls calls;
  calls.watch<&Calls::write>();
  EXPECT_EQ(log.LogActivityLog("first"), 0);
  EXPECT_EQ(log.LogActivityLog("second\n"), 0);  // gets no second line end
  EXPECT_EQ(log.LogActivityLog("a\nlist"), 0);
  EXPECT_EQ(log.LogActivityLog("a\nname\n", false), 0);
  EXPECT_THAT(content(path()), ::testing::MatchesRegex(std::string(TIME) + "first\n" + TIME + "second\n" +
                                                       TIME + "a\nlist\n" + TIME + "a name\n"));
  EXPECT_EQ(log.LogActivityLog(std::string(1'000'000, 'x')), 0);
  EXPECT_EQ(calls.made<&Calls::write>(), 5);
  EXPECT_GT(content(path()).size(), 1'000'000u);
}

TEST_F(LogManagerTest, WhatCantBeLoggedIsToldByItsCode) {
  LogManager nowhere("");
  EXPECT_EQ(nowhere.LogActivityLog("text"), 11);
  LogManager log(path());
  EXPECT_EQ(log.LogActivityLog(""), 11);
  LogManager unopened(directory_.file("file") + "/scan.log");
  EXPECT_EQ(unopened.LogActivityLog("text"), 9);
  RefusedCalls calls;
  calls.refuse<&Calls::write>(ENOSPC);
  EXPECT_EQ(log.LogActivityLog("text"), 621);
}

TEST_F(LogManagerTest, InsertsAreNeverEmptyNeverEndlessAndNeverBreakTheLine) {
  ASSERT_EQ(initializeMessages("nrvna.cat", SCAN_CATALOG_DIRECTORY, 1, 1, 0), 0);
  LogManager log(path());
  const std::string start = "STA0531E The file system \"";
  const std::string end = "\" is being scanned by another job. This job ends without a result.\n";
  std::string escapes, expected;
  while (escapes.size() + 5 <= 4604) escapes += "\\x01";
  for (const auto& [insert, shown] :
       {std::pair<std::string, std::string>("/home", "/home"),
        {"", "<NULL>"},
        {"/two\nlines", "/two lines"},
        {"/caf\xC3\xA9\\\xE9\xE2\x80\xAE", "/caf\xC3\xA9\\\\xE9\\xE2\\x80\\xAE"},
        {std::string(10'000, 'x'), std::string(4604, 'x')},
        {"x" + std::string(5'000, '\x01'), "x" + escapes}}) {  // no escape is halved
    log.logMessage({2236, "STA0531E"}, {insert});
    expected += start + shown + end;
  }
  log.logMessage({2236, "GEN9999E"}, {"/home"});  // the head is the identifier that the caller knows
  log.logMessage({1, "STA0001Q"}, {"/home"});     // no such message: nothing is logged
  closeMessages();
  EXPECT_EQ(std::regex_replace(content(path()), std::regex(TIME), ""),
            expected + "GEN9999E" + start.substr(8) + "/home" + end);
}

TEST_F(LogManagerTest, LinesOfThreadsStayWholeAndInOrderOfTime) {
  LogManager log(path());
  setThreadMode(true);
  std::vector<std::thread> threads;
  for (char mark : {'a', 'b', 'c', 'd'}) {
    threads.emplace_back([&log, mark] {
      for (int i = 0; i < 50; ++i) log.LogActivityLog(std::string(300, mark));
    });
  }
  for (std::thread& thread : threads) thread.join();
  setThreadMode(false);

  std::istringstream words(content(path()));
  std::vector<std::string> times;
  for (std::string date, time, text; words >> date >> time >> text;) {
    times.push_back(date + time);
    EXPECT_EQ(text, std::string(300, text.back()));
  }
  EXPECT_EQ(times.size(), 200u);
  EXPECT_TRUE(std::is_sorted(times.begin(), times.end()));
}

}  // namespace
}  // namespace agent::test
