#include "Scan/ScanDefinition.h"

#include <gtest/gtest.h>

#include "Probe/NasFiler.h"
#include "support/TemporaryDirectory.h"

namespace agent::test {
namespace {

const std::string HEADER =
    "[Header]\n[AgentScan]\nasJobName,asScanningCompID\n[Filesystem]\nfsID,fsMountPoint\n[CuStatDef]\n"
    "sdID,sdName,sdType\n[MonDirSpec]\nmdsID,mdsPath\n[NasFiler]\nnfName,nfOSType\n[Domain]\ndomID,domName\n"
    "[LdapTree]\nltTreeID,ltName\n[/Header]\n";

class ScanDefinitionTest : public ::testing::Test {
 protected:
  std::unique_ptr<AgentScan> read(const std::string& body) {
    return readScanDefinition(directory_.file("def", HEADER + body), place_);
  }
  TemporaryDirectory directory_;
  DefinitionPlace place_;
};

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
  const auto results = scan->getStatistics().front()->sdResults.concerning(0);
  ASSERT_EQ(results.size(), 3u);
  EXPECT_EQ(results[0]->sourceFilesystem()->fsID, 2);
  EXPECT_EQ(results[1]->sourceFilesystem(), nullptr);
  EXPECT_EQ(results[2]->sourceFilesystem()->fsID, 1);
}

}  // namespace
}  // namespace agent::test
