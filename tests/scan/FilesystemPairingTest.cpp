#include "Scan/FilesystemPairing.h"

#include <gmock/gmock.h>

#include "Probe/NasFiler.h"

namespace agent::test {
namespace {

std::unique_ptr<Filesystem> filesystem(int32_t id, int32_t filerID, int32_t domainID) {
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
  // id, filer, domain: domains in rising order, filers in the order met, each filer's in reverse. One without
  // a domain stands in the default one, 0.
  for (const auto& [id, filer, domain] : {std::tuple(1, 71, 9),
                                          {2, 0, 0},
                                          {3, 72, 4},
                                          {4, 71, 9},
                                          {5, 73, 4},
                                          {6, 0, 0},
                                          {7, 74, 0},
                                          {8, 72, 4}}) {
    list.push_back(filesystem(id, filer, domain));
  }

  std::vector<int32_t> ids;
  for (const auto& arranged : arrangeFilesystems(std::move(list))) ids.push_back(arranged->fsID);

  EXPECT_THAT(ids, ::testing::ElementsAre(2, 6, 7, 8, 3, 5, 4, 1));
}

}  // namespace
}  // namespace agent::test
