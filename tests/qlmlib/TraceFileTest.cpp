#include "QLMlib/common/ut/TraceFile.h"

#include <regex>
#include <thread>

#include <unistd.h>

#include "QLMlib/common/thrd/Thread.h"
#include "QLMlib/common/ut/Product.h"
#include "QLMlib/common/ut/Trace.h"
#include "QLMlib/common/ut/TraceClasses.h"
#include "qlmlib/TestFiles.h"
#include "support/RefusedCalls.h"

namespace agent::test {
namespace {

class TraceFileTest : public FilesTest {
 protected:
  ~TraceFileTest() override { closeTrace(); }

  std::string file() const { return path("log/srv/job.trace"); }

  /// The trace with times, numbers of process and thread, and source lines replaced by letters.
  std::string written() const {
    std::string text = content(file());
    text = std::regex_replace(
        text, std::regex(R"(\d\d/\d\d/\d{4} \d\d:\d\d:\d\d\.\d{3} \[\d{6,}\] \[\d+\] : )"), "<T> ");
    text = std::regex_replace(text, std::regex(R"(\d\d/\d\d/\d{4} \d\d:\d\d:\d\d)"), "<D>");
    return std::regex_replace(text, std::regex(R"(\( *\d+\): )"), "(LINE): ");
  }
};

std::string namesOf(std::span<const TraceClass> classes) {
  std::string names;
  for (const TraceClass& row : classes) {
    if (*row.flag) names += std::string(row.name) + " ";
  }
  return names;
}

TEST_F(TraceFileTest, AWholeTraceReadsAsTheFormatSays) {
  ASSERT_EQ(initializeTrace(file(), "MAX", 2100), 0);
  TRACE(TR_MIN, "with a line feed: %d\n", 1);
  TRACE(TR_MID, "without one");
  { TRACE_SCOPE("work( )"); }
  closeTrace();

  const std::string own = "<T> Trace.cpp           (LINE): ", job = "<T> TraceFileTest.cpp   (LINE): ";
  EXPECT_EQ(written().substr(24),
            std::string("2          ZTA Corvane Storage Vantage Center 5.2.4.1   Build date: ") +
                buildDate() + "\n\nBEGINNING NEW TRACE\n\n" + own + "Tracing to file: " + file() + "\n" +
                own + "Tracefile maximum length set to 2 MB.\n" + own + std::string(64, '-') +
                "\n<D> - Trace begun.\n" + job + "with a line feed: 1\n" + job + "without one\n" + job +
                "Enter: work( )\n" + job + "Exit: work( )\n\nEND OF DATA - close\n\n");
}

TEST_F(TraceFileTest, ADebugWordTurnsItsClassesOn) {
  const std::string always = "TIMESTAMP PREFIX PID TID ";
  for (const auto& [word, classes] : {std::pair("MIN", "MIN "), std::pair("MID", "MIN MID "),
                                      std::pair("MAX", "MIN MID MAX ENTER EXIT "), std::pair("", "")}) {
    ASSERT_EQ(initializeTrace(file(), word, 1024), 0);
    EXPECT_EQ(namesOf(ClassTable()), classes + always) << word;
  }
  closeTrace();
  EXPECT_EQ(namesOf(ClassTable()), "");
  EXPECT_EQ(initializeTrace("", "MAX", 1024), 0);  // no name: all stays off
  EXPECT_EQ(namesOf(ClassTable()), "");
}

TEST_F(TraceFileTest, FlagTextsAreWords) {
  const std::tuple<const char*, int, const char*, const char*> cases[] = {
      {"  NA_MIN   NA_EXIT ", 0, "NA_MIN NA_EXIT ", ""},
      {"MAX -NA_ENTER", 0, "NA_MIN NA_MID NA_MAX NA_EXIT ", ""},
      {"ALL -MID", 0, "NA_MAX NA_ENTER NA_EXIT ", ""},  // the sign goes into the aggregate
      {"ALL -ALL", 0, "", ""},
      {"NA_MIN min NA_MAX", -1, "NA_MIN ", "Invalid trace flag: min\n"},  // what follows isn't read
      {"-", -1, "", "Invalid trace flag: \n"},
  };
  for (const auto& [words, rc, classes, printed] : cases) {
    clearTraceFlags();
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(parseTraceFlags(words, naTrcClassTable(), naAgrClassTable(), false), rc) << words;
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), printed) << words;
    EXPECT_EQ(namesOf(naTrcClassTable()), classes) << words;
  }
  clearTraceFlags();
  parseTraceFlags("ALL", ClassTable(), {}, false);
  EXPECT_TRUE(TR_NLS && TR_PID);
  EXPECT_FALSE(TR_TIMESTAMP || TR_PREFIX);
  clearTraceFlags();
}

TEST_F(TraceFileTest, WhatCannotBeSetUpHasItsCode) {
  writeFile(path("file"), "");
  EXPECT_EQ(initializeTrace("/job.trace", "MIN", 1024), 30);                // no directory in front
  EXPECT_EQ(initializeTrace(path("file/sub/job.trace"), "MIN", 1024), 30);  // a file in the way

  ::testing::internal::CaptureStdout();
  EXPECT_EQ(initializeTrace(path(), "MIN", 1024), 1);  // a directory
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Unable to open trace output file " + path() + "\n");
  EXPECT_EQ(namesOf(ClassTable()), "");
}

TEST_F(TraceFileTest, AFullDiskTurnsTracingOffAndTheJobGoesOn) {
  ASSERT_EQ(initializeTrace(file(), "MIN", 1024), 0);
  RefusedCalls calls;
  calls.refuse<&Calls::pwrite>(ENOSPC, 20);
  ::testing::internal::CaptureStdout();
  for (int i = 0; i < 100; ++i) {
    errno = ENOTTY;
    TRACE(TR_MIN, "a line of some length, number %d\n", i);
    EXPECT_EQ(errno, ENOTTY);
  }
  closeTrace();
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "Unable to write to trace file " + file() + ". Tracing disabled.\n");
  EXPECT_EQ(namesOf(ClassTable()), "");
}

TEST_F(TraceFileTest, ThreadsWriteWholeLinesAndAChangeOfThreadIsMarked) {
  ASSERT_EQ(initializeTrace(file(), "MIN", 1024), 0);
  setThreadMode(true);
  const auto write = [] {
    for (int i = 0; i < 200; ++i) TRACE(TR_MIN, "%s\n", std::string(80, 'x').c_str());
  };
  std::thread other(write);
  write();
  other.join();
  setThreadMode(false);
  TRACE(TR_MIN, "back\n");
  closeTrace();

  const std::string text = written();
  const std::regex line("\\): x{80}\n");
  EXPECT_EQ(std::distance(std::sregex_iterator(text.begin(), text.end(), line), {}), 400);
  EXPECT_TRUE(std::regex_search(text, std::regex("\n<=+ thread \\d+=+>\n")));
}

TEST_F(TraceFileTest, AStreamTakesLinesWithoutAFile) {
  ::testing::internal::CaptureStdout();
  ASSERT_EQ(initializeTrace("STDOUT", "MIN", 1024), 0);
  TRACE(TR_MIN, "hello\n");
  closeTrace();
  EXPECT_TRUE(std::regex_search(::testing::internal::GetCapturedStdout(),
                                std::regex("Tracing to stdout\n[^]*TraceFileTest.cpp .*: hello\n$")));
}

}  // namespace
}  // namespace agent::test
