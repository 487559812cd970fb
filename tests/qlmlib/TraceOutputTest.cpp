#include "QLMlib/common/ut/TraceOutput.h"

#include "QLMlib/common/ut/Product.h"
#include "qlmlib/TestFiles.h"
#include "support/RefusedCalls.h"

namespace agent::test {
namespace {

constexpr uint64_t RING_BYTES = 1024;
constexpr char END_MARK[] = "\nEND OF DATA\n\n";
constexpr char CLOSE_MARK[] = "\nEND OF DATA - close\n\n";
constexpr char BEGINNING[] = "BEGINNING NEW TRACE\n\n";

std::string header(const std::string& nextWrite, uint64_t maxMB) {
  return "NRV Trace   " + nextWrite + padded(maxMB, 10) +
         " ZTA Corvane Storage Vantage Center 5.2.4.1   Build date: " + buildDate() + "\n\n";
}

const uint64_t WRAP_START = header("123456789012", 1).size();
const uint64_t FIRST_RECORD = WRAP_START + sizeof BEGINNING - 1;

/// Rings of 1,024 bytes, so that a test can fill them.
class TraceOutputTest : public FilesTest {
 protected:
  TraceLimit small(uint64_t maxMB = 1) const {
    return {.maxMB = maxMB, .segmentMB = 1000, .bytesPerMB = RING_BYTES};
  }
  std::string file() const { return path("job.trace"); }
  std::string written() const { return content(file()); }

  /// Runs a whole life of an output that writes `records`.
  void run(const std::vector<std::string>& records, uint64_t maxMB = 1) {
    TraceOutput output;
    ASSERT_EQ(output.open(file(), small(maxMB)), 0);
    for (const std::string& record : records) ASSERT_TRUE(output.write(record));
    ASSERT_EQ(output.close(), 0);
  }
};

TEST_F(TraceOutputTest, ASecondRunGoesOnBehindTheFirst) {
  run({"one\n"});
  run({"two\n"});
  const uint64_t next = FIRST_RECORD + 4 + sizeof BEGINNING - 1 + 4;
  EXPECT_EQ(written(), header(padded(next, 12), 1) + BEGINNING + "one\n" + BEGINNING + "two\n" + CLOSE_MARK);
}

TEST_F(TraceOutputTest, WhatIsNoSoundRingIsReplaced) {
  const std::string fresh = header(padded(FIRST_RECORD + 4, 12), 1) + BEGINNING + "new\n" + CLOSE_MARK;
  const auto ring = [](const std::string& next, uint64_t maxMB, size_t dataBytes) {
    return header(next, maxMB) + std::string(dataBytes, 'x');
  };
  const std::pair<const char*, std::string> cases[] = {
      {"a limit larger than ours", ring(padded(300, 12), 2, 500)},
      {"a file longer than the limit allows", ring(padded(300, 12), 1, 1024)},
      {"a position inside the header", ring(padded(WRAP_START - 1, 12), 1, 500)},
      {"a position behind the end", ring(padded(WRAP_START + 501, 12), 1, 500)},
      {"a file that was never written to", ring("123456789012", 1, 500)},
      {"a number that overflows", "NRV Trace   99999999999999999999999999" + std::string(500, 'x')},
      {"a header of another build's length",
       "NRV Trace   300         1          other\n" + std::string(500, 'x')},
      {"a text of somebody else", "Dear diary,\n" + std::string(500, 'x')},
      {"a header that is cut off", "NRV Tr"},
  };
  for (const auto& [why, before] : cases) {
    writeFile(file(), before);
    run({"new\n"});
    EXPECT_EQ(written(), fresh) << why;
  }
}

TEST_F(TraceOutputTest, ARecordThatJustFitsStaysAndOneByteMoreGoesRound) {
  TraceOutput output;
  ASSERT_EQ(output.open(file(), small()), 0);
  ASSERT_TRUE(
      output.write(std::string(RING_BYTES - FIRST_RECORD - 10 - 17, 'f')));  // all but record and mark
  ASSERT_TRUE(output.write("123456789\n"));
  EXPECT_EQ(written().substr(RING_BYTES - 27), std::string("123456789\n") + END_MARK);

  // No room is left now: the shortest record goes to the start, over what stood there.
  ASSERT_TRUE(output.write("\n"));
  const std::string ring = written();
  EXPECT_EQ(ring.substr(0, WRAP_START + 15), header(padded(WRAP_START + 1, 12), 1) + "\n" + END_MARK);
  EXPECT_EQ(ring.substr(WRAP_START + 15, 7), std::string(BEGINNING).substr(15) + "f");
  EXPECT_EQ(ring.substr(RING_BYTES - 27), "123456789\n\nContinued at beginning of file\n\n");
}

TEST_F(TraceOutputTest, ARingThatHasWrappedIsKeptAtTheNextStart) {
  const auto record = [](char letter) { return std::string(399, letter) + "\n"; };
  run({record('a'), record('b'), record('c')});
  run({"new\n"});
  const std::string ring = written();
  EXPECT_EQ(ring.substr(WRAP_START, 425), record('c') + BEGINNING + "new\n");
  EXPECT_NE(ring.find("bbb\n\nContinued at beginning of file\n\n"), std::string::npos);
}

TEST_F(TraceOutputTest, ARecordLongerThanTheRingIsCut) {
  run({std::string(5000, 'l')});
  const std::string ring = written();
  EXPECT_EQ(ring.substr(WRAP_START, RING_BYTES - WRAP_START - 17),
            std::string(RING_BYTES - WRAP_START - 17, 'l'));
  EXPECT_EQ(ring.substr(RING_BYTES - 17), CLOSE_MARK);
}

TEST_F(TraceOutputTest, ALargeLimitIsSpreadOverSegments) {
  const TraceLimit limit{.maxMB = 3, .segmentMB = 2, .bytesPerMB = 512};     // 1,024 and 512 bytes
  const std::string earlier[] = {path("job.2.trace"), path("job.3.trace")};  // of a larger limit
  for (const std::string& left : earlier) writeFile(left, "left by an earlier run");
  TraceOutput output;
  ASSERT_EQ(output.open(file(), limit), 0);
  for (const std::string& left : earlier) EXPECT_FALSE(std::filesystem::exists(left));

  const std::string first(800, '1');
  const std::string second(300, '2');
  ASSERT_TRUE(output.write(first));
  ASSERT_TRUE(output.write(second));
  EXPECT_EQ(written(), header(padded(FIRST_RECORD + 800, 12), 3) + BEGINNING + first +
                           "\nContinued at beginning of segment 2\n\n");
  const std::string continued = "Continued from end of segment 1\n\n";
  EXPECT_EQ(content(path("job.2.trace")),
            header(padded(WRAP_START + continued.size() + 300, 12), 3) + continued + second + END_MARK);

  ASSERT_TRUE(output.write(second));
  const std::string round = "Continued from end of segment 2\n\n";
  EXPECT_EQ(written(), header(padded(WRAP_START + round.size() + 300, 12), 3) + round + second + END_MARK);
  ASSERT_EQ(output.close(), 0);
}

TEST_F(TraceOutputTest, WithoutALimitTheFileOnlyGrows) {
  writeFile(file(), "before\n");
  run({"one\n"}, 0);
  EXPECT_EQ(written(),
            std::string("before\nNRV Trace   ZTA Corvane Storage Vantage Center 5.2.4.1  \nBuild Date: ") +
                buildDate() + "\n" + BEGINNING + "one\n" + CLOSE_MARK);
}

TEST_F(TraceOutputTest, ARefusedWriteEndsTheOutputAndLeavesAWholeRing) {
  TraceOutput output;
  ASSERT_EQ(output.open(file(), small()), 0);
  ASSERT_TRUE(output.write("one\n"));
  {
    RefusedCalls calls;
    calls.shorten<&Calls::pwrite>(10);
    calls.refuse<&Calls::pwrite>(ENOSPC, 2);
    EXPECT_FALSE(output.write("this does not fit\n"));
    EXPECT_FALSE(output.isOpen());
    EXPECT_TRUE(output.write("nobody writes this\n"));
  }
  EXPECT_EQ(written().substr(0, FIRST_RECORD + 4),
            header(padded(FIRST_RECORD + 4, 12), 1) + BEGINNING + "one\n");
}

}  // namespace
}  // namespace agent::test
