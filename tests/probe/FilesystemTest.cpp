#include "Probe/Filesystem.h"

#include <gtest/gtest.h>

#include "Common/VoxObjectCreationException.h"
#include "Probe/NasFiler.h"

namespace agent::test {
namespace {

TEST(Filesystem, RefusesARowOfAnotherLengthThanItsHeader) {
  const Row header = {"fsID", "fsMountPoint"};
  for (const Rows& rows : {Rows{}, Rows{{"1"}}, Rows{{"1", "/", "more"}}}) {
    Filesystem filesystem;
    EXPECT_THROW(filesystem.inititializeObject(header, rows), VoxObjectCreationException);
    NasFiler filer;
    EXPECT_THROW(filer.initializeObject({"nfName", "nfOSType"}, rows), VoxObjectCreationException);
    Domain domain;
    EXPECT_THROW(domain.initializeObject({"domID", "domName"}, rows), VoxObjectCreationException);
    LdapTree tree;
    EXPECT_THROW(tree.initializeObject({"ltName", "ltTreeID"}, rows), VoxObjectCreationException);
  }
}

}  // namespace
}  // namespace agent::test
