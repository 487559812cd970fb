#include <gmock/gmock.h>

#include <string>

#include "Common/GenericPrint.h"
#include "Common/VoxObjectCreationException.h"
#include "Scan/results/MonDirSpec.h"
#include "Scan/results/SFile.h"
#include "Scan/results/SSizeDist.h"
#include "Scan/statistics/BackupAction.h"
#include "Scan/statistics/FileScoreRule.h"
#include "statistics/WalkStandIn.h"
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

// No scan makes these records; a server that sends or expects one finds the format kept.
TEST(ReservedRecords, PrintAsTheFormatReservesThem) {
  BackupAction action;
  action.baID = 3;
  action.baDeleteFile = true;
  action.baOptions = "fast";
  action.baFile = {"/a"};
  EXPECT_EQ(printed(action),
            "[BackupAction]\n\"3\",\"0\",\"Y\",\"fast\",\"baFile not serialized!\",\"baFilesystem not "
            "serialized!\",\"0\"\n[/BackupAction]\n");

  EXPECT_EQ(printed(FileScoreRule()), "[FileScoreRule]\n\"0\",\"0\",\"null\",\"0\"\n[/FileScoreRule]\n");

  SFileCandidate candidate(WalkStandIn::file("/m/f", 4));
  candidate.sfHSMScore = 1.5F;
  EXPECT_EQ(printed(candidate),
            "[SFileCandidate]\n\"1\",\"/m/f\",\"0\",\"0\",\"0\",\"4\",\"0\",\"0\",\"1\",\"0\",\"0\",\"0\","
            "\"0\",\"1.500000\"\n[/SFileCandidate]\n");
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
