#include "Scan/FilesystemPairing.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "Probe/NasFiler.h"
#include "support/JobLog.h"
#include "support/TemporaryDirectory.h"

namespace agent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

std::unique_ptr<Filesystem> filesystem(int32_t id, int32_t filerID = 0, int32_t domainID = 0) {
  auto made = std::make_unique<Filesystem>();
  made->fsID = id;
  if (filerID != 0) {
    made->filer = std::make_unique<NasFiler>();
    made->filer->nfComputerID = filerID;
    if (domainID != 0) made->filer->nfDomain.push_back(std::make_unique<Domain>(domainID, "domain"));
  }
  return made;
}

TEST(FilesystemPairing, ArrangesFilersBehindLocalOnesByDomain) {
  FilesystemList list;
  // id, filer, domain: domains in rising order, filers in the order met, each filer's in reverse.
  list.push_back(filesystem(1, 71, 9));
  list.push_back(filesystem(2));
  list.push_back(filesystem(3, 72, 4));
  list.push_back(filesystem(4, 71, 9));
  list.push_back(filesystem(5, 73, 4));
  list.push_back(filesystem(6));
  list.push_back(filesystem(7, 74));  // without a domain: the default one, 0
  list.push_back(filesystem(8, 72, 4));

  std::vector<int32_t> ids;
  for (const auto& arranged : arrangeFilesystems(std::move(list))) ids.push_back(arranged->fsID);

  EXPECT_THAT(ids, ElementsAre(2, 6, 7, 8, 3, 5, 4, 1));
}

TEST(FilesystemPairing, WalksWhatIsMountedAndGivesUpTheRest) {
  const JobLog log;
  const TemporaryDirectory tree;
  Mounts mount("");
  mount.filesystem = "tmp";
  mount.fsType = "tmpfs";
  mount.mntPt = tree / "";
  MountsMap mounts;
  mounts.try_emplace("/here", mount.entry());
  FilesystemList list;
  for (const char* point : {"/here", "/gone", "/here"}) {
    list.push_back(filesystem(7));
    list.back()->fsMountPoint = point;
  }
  list.back()->fsType = Filesystem::FAKE;
  ScanPlan plan;
  findFilesystems(list, mounts, 0, plan);

  ASSERT_EQ(plan.fsRefs.size(), 2u);
  EXPECT_EQ(plan.fsRefs[0]->localPath, tree / "");
  EXPECT_EQ(plan.fsRefsById.at(7), plan.fsRefs[0].get());
  EXPECT_GT(list[0]->fsCapacity, 0);
  EXPECT_EQ(list[2]->fsCapacity + list[2]->fsUsedSpace, 0);  // made up by the server: no figures
  EXPECT_TRUE(list[0]->fsScanned && !list[1]->fsScanned && list[2]->fsScanned && plan.givenUp);
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("/gone")));
}

}  // namespace
}  // namespace agent::test
