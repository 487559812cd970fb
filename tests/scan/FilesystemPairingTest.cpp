#include "Scan/FilesystemPairing.h"

#include <gmock/gmock.h>

#include "Probe/NasFiler.h"

namespace agent::test {

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
    list.push_back(std::make_unique<Filesystem>());
    list.back()->fsID = id;
    if (filer == 0) continue;
    list.back()->filer = std::make_unique<NasFiler>();
    list.back()->filer->nfComputerID = filer;
    if (domain != 0) list.back()->filer->nfDomain.push_back(std::make_unique<Domain>(domain, "domain"));
  }

  std::vector<int32_t> ids;
  for (const auto& arranged : arrangeFilesystems(std::move(list))) ids.push_back(arranged->fsID);

  EXPECT_THAT(ids, ::testing::ElementsAre(2, 6, 7, 8, 3, 5, 4, 1));
}

}  // namespace agent::test
