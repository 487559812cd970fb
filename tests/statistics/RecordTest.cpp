#include <gmock/gmock.h>

#include <string>

#include "Common/GenericPrint.h"
#include "Common/VoxObjectCreationException.h"
#include "Scan/results/MonDirSpec.h"
#include "Scan/results/SSizeDist.h"
#include "support/TemporaryDirectory.h"

namespace agent::test {
namespace {

template <typename Record>
std::string printed(const Record& record) {
  const TemporaryDirectory directory;
  GenericPrint print(GenericPrint::VOX_FORMAT, directory / "out");
  record.printData(print);
  print.closeFile();
  return content(directory / "out");
}

TEST(SSizeDist, ReadsTheFirstNumberOfAHistogramOnly) {
  SSizeDist distribution;
  distribution.szdSizes[3] = 9;
  distribution.inititializeObject({"szdCounts", "szdFilesystemID", "szdSizes"}, {{"4,5", "2", "7,8,9"}});
  EXPECT_EQ(printed(distribution),
            "[SSizeDist]\n\"2\",\"0\",\"7,0,0,0,0,0,0,0\",\"4,0,0,0,0,0,0,0\"\n[/SSizeDist]\n");
}

TEST(MonDirSpec, ReadsItsColumnsAndRefusesARowOfTheWrongLength) {
  MonDirSpec spec;
  spec.inititializeObject({"mdsPath", "mdsID", "mdsMaskedPath", "mdsComputerID", "mdsGroupID"},
                          {{"/m/*", "4", "y", "17", "2"}, {"/m/d", "5", "true", "17", "2"}});
  EXPECT_EQ(printed(spec), "[MonDirSpec]\n\"5\",\"2\",\"17\",\"/m/d\",\"Y\"\n[/MonDirSpec]\n");
  EXPECT_THROW(spec.inititializeObject({"mdsPath"}, {{"/m", "1"}}), VoxObjectCreationException);
}

}  // namespace
}  // namespace agent::test
