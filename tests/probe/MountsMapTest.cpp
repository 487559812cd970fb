#include "Probe/MountsMap.h"

#include <gmock/gmock.h>

#include <map>
#include <string>
#include <vector>

#include "Probe/Filesystem.h"
#include "Probe/NasFiler.h"
#include "support/TemporaryDirectory.h"
#include "support/JobLog.h"

namespace agent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

class MountsMapTest : public ::testing::Test {
 protected:
  int make(const std::string& table, bool aliases = false) {
    Mounts mounts(directory.file("mtab", table));
    MountsMap map;
    const int rc = makeMountsMap(map, aliases, mounts);
    points.clear();
    for (const auto& [key, mount] : map) points[key] = mount.mntPt;
    return rc;
  }

  TemporaryDirectory directory;
  JobLog log;
  std::map<std::string, std::string> points;  // mount point by key
};

TEST_F(MountsMapTest, KeysAreWhatAFileSystemIsLookedUpBy) {
  directory.file("set/cluster/x");
  EXPECT_EQ(make("/dev/a / xfs rw 0 0\n"
                 "Filer.Example:/vol/V1 /mnt/v1 nfs4 rw 0 0\n"
                 "[::1]:/e /mnt/e nfs rw 0 0\n"
                 "c " +
                 (directory / "set") +
                 " clfs rw 0 0\n"
                 "/dev/b / ext4 rw 0 0\n"),
            0);
  EXPECT_THAT(points, UnorderedElementsAre(Pair("/", "/"), Pair("filer.example:/vol/V1", "/mnt/v1"),
                                           Pair("[::1]:/e", "/mnt/e"), Pair("cluster", directory / "set")));
}

TEST_F(MountsMapTest, KeepsTheRestWhenAnNfsSourceIsBroken) {
  EXPECT_EQ(make("nocolon /mnt/x nfs rw 0 0\n:/e /mnt/y nfs rw 0 0\nt /tmp tmpfs rw 0 0\n"), 4);
  EXPECT_THAT(points, ElementsAre(Pair("/tmp", "/tmp")));
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("NAA0039W"), HasSubstr("NAA0039W")));
}

// A numeric host needs no resolver; its address differs where the source writes it in another way.
TEST_F(MountsMapTest, EntersAliasesByAddress) {
  EXPECT_EQ(make("127.0.0.1:/e /mnt/e nfs rw 0 0\n0:0:0:0:0:0:0:1:/f /mnt/f nfs rw 0 0\n", true), 0);
  EXPECT_THAT(points, UnorderedElementsAre(Pair("127.0.0.1:/e", "/mnt/e"),
                                           Pair("0:0:0:0:0:0:0:1:/f", "/mnt/f"), Pair("[::1]:/f", "/mnt/f")));
}

TEST_F(MountsMapTest, GivesTheCandidateKeysOfAFilerInTheirOrder) {
  Filesystem filesystem;
  filesystem.fsMountPoint = "vol/vol0";
  EXPECT_THAT(candidateKeys(filesystem), ElementsAre("vol/vol0"));

  filesystem.filer = std::make_unique<NasFiler>();
  filesystem.filer->nfNetworkName = "  Net.Example ";
  filesystem.filer->nfName = "";
  filesystem.filer->nfIPAddress = "127.0.0.1";
  EXPECT_THAT(candidateKeys(filesystem),
              ElementsAre("net.example:vol/vol0", "net.example:/", "127.0.0.1:vol/vol0", "127.0.0.1:/"));
  filesystem.fsMountPoint = "/vol/vol0";
  EXPECT_THAT(candidateKeys(filesystem), ElementsAre("net.example:/vol/vol0", "127.0.0.1:/vol/vol0"));

  filesystem.filer->nfOSType = NasFiler::OS_TYPE_CLUSTER;
  filesystem.filer->nfName = "TheCluster";
  EXPECT_THAT(candidateKeys(filesystem), ElementsAre("TheCluster", "  net.example :/"));
  filesystem.fsMountPoint = "/vol/other";
  EXPECT_THAT(candidateKeys(filesystem), ElementsAre("TheCluster"));

  filesystem.filer = std::make_unique<NasFiler>();
  EXPECT_THAT(candidateKeys(filesystem), ElementsAre());
}

}  // namespace
}  // namespace agent::test
