#include "Common/GenericPrint.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "Common/VOXIOException.h"
#include "support/RefusedCalls.h"
#include "support/TemporaryDirectory.h"

namespace agent::test {
namespace {

using namespace std::string_literals;

class GenericPrintTest : public testing::Test {
 protected:
  std::string result() const { return content(directory_ / "out/result.dat"); }
  std::string path() const { return directory_ / "out/result.dat"; }

  /// What a failed operation tells, as "message|detail|cause".
  template <typename Operation>
  static std::string failureOf(Operation operation) {
    try {
      operation();
    } catch (const VOXIOException& failure) {
      return failure.getMessage() + "|" + failure.getDetail() + "|" + failure.getCause();
    }
    return "none";
  }

  TemporaryDirectory directory_;
};

TEST_F(GenericPrintTest, QuotesEveryValueSoThatARowStaysOneLine) {
  GenericPrint gp(GenericPrint::VOX_FORMAT, path());
  gp.printData({"", "", ""});                 // nothing between the commas
  gp.printData({"null", "a,b"});              // the word and the comma are text
  gp.printData({"\"", "say \"\"twice\"\""});  // each quote is doubled
  gp.printData({"two\nlines\r\n", "[Tag]"});  // line ends become blanks
  gp.printData({"nul\0byte"s, "caf\xe9"});    // other bytes stay as they are
  gp.closeFile();

  EXPECT_EQ(result(),
            ",,\n"
            "\"null\",\"a,b\"\n"
            "\"\"\"\",\"say \"\"\"\"twice\"\"\"\"\"\n"
            "\"two lines  \",\"[Tag]\"\n"
            "\"nul\0byte\",\"caf\xe9\"\n"s);
}

TEST_F(GenericPrintTest, OneLineIsOneWrite) {
  GenericPrint gp(GenericPrint::VOX_FORMAT, path());
  RefusedCalls calls;
  calls.watch<&Calls::write>();
  gp.printData({"a", std::string(100'000, 'b'), "c"});
  gp.endNode("AgentScan");
  EXPECT_EQ(calls.made<&Calls::write>(), 2);
}

TEST_F(GenericPrintTest, InterruptedAndShortWritesLoseNothing) {
  GenericPrint gp(GenericPrint::VOX_FORMAT, path());
  RefusedCalls calls;
  calls.refuse<&Calls::write>(EINTR, 1, 2);
  calls.shorten<&Calls::write>(3);
  gp.printData({"abcdef", "gh"});
  gp.closeFile();
  EXPECT_EQ(result(), "\"abcdef\",\"gh\"\n");
}

TEST_F(GenericPrintTest, AFailedCloseCountsAsAFailedWrite) {
  GenericPrint gp(GenericPrint::VOX_FORMAT, path());
  RefusedCalls calls;
  calls.refuse<&Calls::close>(EIO);
  EXPECT_EQ(failureOf([&] { gp.closeFile(); }),
            "ERROR: writing data to file failed|close '" + path() + "'|Input/output error");
}

TEST_F(GenericPrintTest, AFileThatCantBeOpenedFailsAtTheFirstWrite) {
  for (const auto& [path, detail] :
       {std::pair<std::string, std::string>("", "open ''|no file name"),
        {directory_.path(), "open '" + directory_.path() + "'|Is a directory"}}) {
    GenericPrint gp(GenericPrint::VOX_FORMAT, path);
    EXPECT_FALSE(gp.hasOpenedFile());
    EXPECT_EQ(failureOf([&] { gp.beginNode("AgentScan"); }), "ERROR: writing data to file failed|" + detail);
    EXPECT_EQ(failureOf([&] { gp.closeFile(); }), "ERROR: writing data to file failed|" + detail);
  }
}

}  // namespace
}  // namespace agent::test
