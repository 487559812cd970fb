#include "Scan/ScanDefinition.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "Common/VOXParserException.h"
#include "Common/VoxObjectCreationException.h"
#include "Probe/NasFiler.h"
#include "common/TemporaryDirectory.h"

namespace agent::test {
namespace {

using ::testing::ElementsAre;

const std::string HEADER =
    "[Header]\n[AgentScan]\nasJobName,asScanningCompID\n[Filesystem]\nfsID,fsMountPoint\n[CuStatDef]\n"
    "sdID,sdName,sdType\n[MonDirSpec]\nmdsID,mdsPath\n[NasFiler]\nnfName,nfOSType\n[Domain]\ndomID,domName\n"
    "[LdapTree]\nltTreeID,ltName\n[/Header]\n";

class ScanDefinitionTest : public ::testing::Test {
 protected:
  std::unique_ptr<AgentScan> read(const std::string& body) {
    return readScanDefinition(directory.file("def", HEADER + body), place);
  }
  /// 0, or the code of the exception.
  int codeOf(const std::string& text) {
    try {
      readScanDefinition(directory.file("def", text), place);
      return 0;
    } catch (const VOXParserException& exception) {
      return exception.getCode();
    } catch (const VoxObjectCreationException& exception) {
      return exception.getCode();
    }
  }

  TemporaryDirectory directory;
  std::string place;
};

TEST_F(ScanDefinitionTest, PutsFileSystemsAndDirectoriesAtTheHeadAndStatisticsAtTheTail) {
  const auto scan = read(
      "[AgentScan]\n\"daily\",17\n"
      "[Filesystem]\n1,\"/a\"\n[/Filesystem]\n[CuStatDef]\n5,\"x\",3\n[/CuStatDef]\n"
      "[MonDirSpec]\n1,\"/a/d\"\n[/MonDirSpec]\n[Unheard]\n[/Unheard]\n"
      "[Filesystem]\n2,\"/b\"\n[/Filesystem]\n[CuStatDef]\n6,\"y\",0\n[/CuStatDef]\n"
      "[MonDirSpec]\n2,\"/b/d\"\n[/MonDirSpec]\n[/AgentScan]\n");
  EXPECT_EQ(scan->getScanningCompId(), 17);
  std::vector<int32_t> ids;
  for (const auto& filesystem : scan->getFilesystems()) ids.push_back(filesystem->fsID);
  for (const auto& spec : scan->getDirectories()) ids.push_back(spec->getMdsID());
  for (const auto& statistic : scan->getStatistics()) ids.push_back(statistic->sdID);
  EXPECT_THAT(ids, ElementsAre(2, 1, 2, 1, 5, 6));
  EXPECT_EQ(scan->getFilesystems().front()->fsScanningCompID, -1);  // no computer is known yet
}

TEST_F(ScanDefinitionTest, ReadsAFilerWithItsDomainsAndTree) {
  const auto scan = read(
      "[AgentScan]\n\"j\",1\n[Filesystem]\n1,\"/vol/v\"\n[NasFiler]\n\"filer\",23\n"
      "[Domain]\n4,\"d\"\n[/Domain]\n[Domain]\n5,\"e\"\n[/Domain]\n[LdapTree]\n9,\"tree\"\n[/LdapTree]\n"
      "[Filesystem]\n7,\"/x\"\n[/Filesystem]\n[/NasFiler]\n[/Filesystem]\n[/AgentScan]\n");
  ASSERT_EQ(scan->getFilesystems().size(), 1u);  // the filer's own is read and not kept
  const NasFiler& filer = *scan->getFilesystems().front()->filer;
  EXPECT_EQ(filer.nfName, "filer");
  ASSERT_EQ(filer.nfDomain.size(), 2u);
  EXPECT_EQ(filer.nfDomain[0]->id, 4);
  EXPECT_EQ(filer.ldapTree->name, "tree");
}

TEST_F(ScanDefinitionTest, ARestrictedStatisticNamesItsFileSystemsInReverse) {
  const auto scan = read(
      "[AgentScan]\n\"j\",1\n[CuStatDef]\n5,\"x\",4\n"
      "[ResultsByFS]\n[Filesystem]\n1,\"/a\"\n[/Filesystem]\n[/ResultsByFS]\n"
      "[ResultsByFS]\n[/ResultsByFS]\n"
      "[ResultsByFS]\n[Filesystem]\n2,\"/b\"\n[/Filesystem]\n[/ResultsByFS]\n[/CuStatDef]\n[/AgentScan]\n");
  const auto& results = scan->getStatistics().front()->sdResults;
  ASSERT_EQ(results.size(), 3u);
  EXPECT_EQ(results[0]->sourceFilesystem()->fsID, 2);
  EXPECT_EQ(results[1]->sourceFilesystem(), nullptr);
  EXPECT_EQ(results[2]->sourceFilesystem()->fsID, 1);
}

TEST_F(ScanDefinitionTest, TellsByItsCodeWhatIsWrong) {
  struct Case {
    const char* what;
    std::string text;
    int code;
  };
  const Case cases[] = {
      {"an empty file is an empty job", "", 0},
      {"no AgentScan at all", HEADER + "[Filesystem]\n1,\"/a\"\n[/Filesystem]\n", 0},
      {"an AgentScan without a row", HEADER + "[AgentScan]\n[/AgentScan]\n", 325},
      {"an AgentScan row of one column", HEADER + "[AgentScan]\n\"j\"\n[/AgentScan]\n", 325},
      {"swapped columns leave the fields empty",
       "[Header]\n[AgentScan]\nasScanningCompID,asJobName\n[/Header]\n[AgentScan]\n1,\"j\"\n[/AgentScan]\n",
       0},
      {"a class that the header doesn't name",
       "[Header]\n[AgentScan]\nasJobName,asScanningCompID\n[/"
       "Header]\n[AgentScan]\n\"j\",1\n[Filesystem]\n1\n",
       321},
      {"a file system without a row", HEADER + "[AgentScan]\n\"j\",1\n[Filesystem]\n[/Filesystem]\n", 325},
      {"an empty cell makes the row short",
       HEADER + "[AgentScan]\n\"j\",1\n[Filesystem]\n1,\n[/Filesystem]\n[/AgentScan]\n", 325},
      {"a statistic without a row keeps its defaults",
       HEADER + "[AgentScan]\n\"j\",1\n[CuStatDef]\n[/CuStatDef]\n[/AgentScan]\n", 0},
      {"a one-letter tag reads as a row", HEADER + "[AgentScan]\n\"j\",1\n[X]\n[/AgentScan]\n", 0},
  };
  for (const Case& c : cases) EXPECT_EQ(codeOf(c.text), c.code) << c.what;
  try {
    readScanDefinition(directory / "none", place);
    FAIL();
  } catch (const VOXParserException& exception) {
    EXPECT_EQ(exception.getCode(), 13);
  }
}

TEST_F(ScanDefinitionTest, SaysWhereTheFailureLies) {
  EXPECT_EQ(codeOf(HEADER + "[AgentScan]\n\"j\",1\n[Filesystem]\n1,2,3\n[/Filesystem]\n[/AgentScan]\n"), 325);
  EXPECT_EQ(place, "class \"Filesystem\" in line 19");
}

// Cut anywhere, a definition gives an error or a smaller job, never a crash.
TEST_F(ScanDefinitionTest, SurvivesBeingCutAnywhere) {
  const std::string whole =
      HEADER +
      "[AgentScan]\n\"daily\",17\n[Filesystem]\n1,\"/a\"\n[NasFiler]\n\"f\",1\n[/NasFiler]\n"
      "[/Filesystem]\n[CuStatDef]\n5,\"x\",4\n[ResultsByFS]\n[Filesystem]\n1,\"/a\"\n"
      "[/Filesystem]\n[/ResultsByFS]\n[/CuStatDef]\n[/AgentScan]\n";
  for (size_t length = 0; length <= whole.size(); ++length) {
    const int code = codeOf(whole.substr(0, length));
    EXPECT_TRUE(code == 0 || code == 321 || code == 325) << length << " gave " << code;
  }
}

}  // namespace
}  // namespace agent::test
