#include "QLMlib/common/ut/TraceFile.h"

#include <cerrno>
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
  std::string content() const {
    std::string text = readFile(file());
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

  const std::string text = content();
  EXPECT_EQ(text.substr(24),
            std::string("2          ZTA Corvane Storage Vantage Center 5.2.4.1   Build date: ") +
                buildDate() +
                "\n\n"
                "BEGINNING NEW TRACE\n\n"
                "<T> Trace.cpp           (LINE): Tracing to file: " +
                file() +
                "\n"
                "<T> Trace.cpp           (LINE): Tracefile maximum length set to 2 MB.\n"
                "<T> Trace.cpp           (LINE): "
                "----------------------------------------------------------------\n"
                "<D> - Trace begun.\n"
                "<T> TraceFileTest.cpp   (LINE): with a line feed: 1\n"
                "<T> TraceFileTest.cpp   (LINE): without one\n"
                "<T> TraceFileTest.cpp   (LINE): Enter: work( )\n"
                "<T> TraceFileTest.cpp   (LINE): Exit: work( )\n"
                "\nEND OF DATA - close\n\n");
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
  struct Case {
    const char* words;
    int rc;
    const char* classes;
    const char* printed;
  };
  const Case cases[] = {
      {"  NA_MIN   NA_EXIT ", 0, "NA_MIN NA_EXIT ", ""},
      {"MAX -NA_ENTER", 0, "NA_MIN NA_MID NA_MAX NA_EXIT ", ""},
      {"ALL -MID", 0, "NA_MAX NA_ENTER NA_EXIT ", ""},  // the sign goes into the aggregate
      {"ALL -ALL", 0, "", ""},
      {"NA_MIN min NA_MAX", -1, "NA_MIN ", "Invalid trace flag: min\n"},  // what follows isn't read
      {"-", -1, "", "Invalid trace flag: \n"},
  };
  for (const Case& c : cases) {
    clearTraceFlags();
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(parseTraceFlags(c.words, naTrcClassTable(), naAgrClassTable(), false), c.rc) << c.words;
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), c.printed) << c.words;
    EXPECT_EQ(namesOf(naTrcClassTable()), c.classes) << c.words;
  }
  clearTraceFlags();
  parseTraceFlags("ALL", ClassTable(), {}, false);
  EXPECT_TRUE(TR_NLS);
  EXPECT_TRUE(TR_PID);
  EXPECT_FALSE(TR_TIMESTAMP);
  EXPECT_FALSE(TR_PREFIX);
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

  const std::string text = content();
  size_t lines = 0;
  for (size_t at = 0; (at = text.find("): " + std::string(80, 'x') + "\n", at)) != std::string::npos; ++at) {
    ++lines;
  }
  EXPECT_EQ(lines, 400u);
  EXPECT_TRUE(std::regex_search(text, std::regex("\n<=+ thread \\d+=+>\n")));
}

TEST_F(TraceFileTest, AStreamTakesLinesWithoutAFile) {
  ::testing::internal::CaptureStdout();
  ASSERT_EQ(initializeTrace("STDOUT", "MIN", 1024), 0);
  TR_TIMESTAMP.set(false);
  TR_PID.set(false);
  TR_TID.set(false);
  TRACE(TR_MIN, "hello\n");
  closeTrace();
  const std::string text = ::testing::internal::GetCapturedStdout();
  EXPECT_NE(text.find("Tracing to stdout\n"), std::string::npos);
  EXPECT_TRUE(std::regex_search(text, std::regex("\nTraceFileTest.cpp   \\( *\\d+\\): hello\n$")));
}

}  // namespace
}  // namespace agent::test
