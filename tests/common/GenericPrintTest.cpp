#include "Common/GenericPrint.h"

#include <gtest/gtest.h>

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

  TemporaryDirectory directory_;
};

TEST_F(GenericPrintTest, QuotesEveryValueSoThatARowStaysOneLineAndOneWrite) {
  const std::string wide(100'000, 'b');
  GenericPrint gp(GenericPrint::VOX_FORMAT, path());
  RefusedCalls calls;
  calls.watch<&Calls::write>();
  gp.printData({"", "", ""});                 // nothing between the commas
  gp.printData({"null", "a,b"});              // the word and the comma are text
  gp.printData({"\"", "say \"\"twice\"\""});  // each quote is doubled
  gp.printData({"two\nlines\r\n", "[Tag]"});  // line ends become blanks
  gp.printData({"nul\0byte"s, "caf\xe9"});    // other bytes stay as they are
  gp.printData({wide});
  EXPECT_EQ(calls.made<&Calls::write>(), 6);
  gp.closeFile();

  EXPECT_EQ(result(),
            ",,\n"
            "\"null\",\"a,b\"\n"
            "\"\"\"\",\"say \"\"\"\"twice\"\"\"\"\"\n"
            "\"two lines  \",\"[Tag]\"\n"
            "\"nul\0byte\",\"caf\xe9\"\n\""s +
                wide + "\"\n");
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
  try {
    gp.closeFile();
    FAIL() << "no exception";
  } catch (const VOXIOException& failure) {
    EXPECT_EQ(failure.getMessage() + "|" + failure.getDetail() + "|" + failure.getCause(),
              "ERROR: writing data to file failed|close '" + path() + "'|Input/output error");
  }
}

}  // namespace
}  // namespace agent::test
