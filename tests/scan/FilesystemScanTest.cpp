#include "Scan/FilesystemScan.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "Probe/NasFiler.h"

namespace agent::test {
namespace {

using ::testing::ElementsAre;

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

TEST(FilesystemScan, ArrangesFilersBehindLocalOnesByDomain) {
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
  for (const auto& arranged : FilesystemScan::arrangeFilesystems(std::move(list)))
    ids.push_back(arranged->fsID);

  EXPECT_THAT(ids, ElementsAre(2, 6, 7, 8, 3, 5, 4, 1));
}

TEST(FilesystemScan, FindsTheSlashesOfAPath) {
  struct Case {
    const char* path;
    size_t first, last;
    int32_t slashes;
  };
  for (const Case& c : {Case{"/a/b/", 3, 4, 2}, Case{"/a/b", 3, 4, 2}, Case{"/", 0, 0, 0}, Case{"", 0, 0, 0},
                        Case{"/m/", 1, 2, 1}, Case{"a", 0, 1, 0}}) {
    const FilesystemScan::Slashes found = FilesystemScan::findSlashes(c.path);
    EXPECT_EQ(found.first, c.first) << c.path;
    EXPECT_EQ(found.last, c.last) << c.path;
    EXPECT_EQ(found.slashes, c.slashes) << c.path;
  }
}

TEST(FilesystemScan, TellsMasksFromPaths) {
  for (const char* masked : {"/home/*", "/h?me", "/[ab]", "/a&&*"}) {
    EXPECT_TRUE(FilesystemScan::maskedPath(masked)) << masked;
  }
  for (const char* plain : {"/home", "/a&*b", "/a&[", "*", "", "/&"}) {
    EXPECT_FALSE(FilesystemScan::maskedPath(plain)) << plain;
  }
}

}  // namespace
}  // namespace agent::test
