#include "Scan/walk/LocalPathInfo.h"

#include <gtest/gtest.h>

namespace agent::test {

TEST(LocalPathInfo, GivesTheLocalNameOfALogicalPath) {
  struct Case {
    const char *root, *local, *path, *name;
  };
  const Case cases[] = {
      {"/home/", "/home", "/home/a/b", "/home/a/b"},  // mounted where the server says
      {"/home/", "/home", "/home/", "/home"},         // the root itself
      {"/", "/", "/usr/bin", "/usr/bin"},             // no doubled slash below "/"
      {"/", "/", "/", "/"},
      {"/vol/v1/", "/mnt/filer", "/vol/v1/a", "/mnt/filer/a"},  // a filer's export behind a mount
      {"/", "/mnt/set", "/a", "/mnt/set/a"},                    // a file set: logical root is "/"
  };
  for (const Case& c : cases) {
    EXPECT_EQ(LocalPathInfo(c.root, c.local).localName(c.path), c.name) << c.root << " at " << c.local;
  }
}

TEST(LocalPathInfo, CountsTheSpaceThatTheLongerPrefixTakes) {
  const LocalPathInfo shorter("/logical/name/", "/m");
  EXPECT_EQ(shorter.localLength("/logical/name/x"), 4u);
  EXPECT_EQ(shorter.reservedLength(), 11u);
  EXPECT_EQ(LocalPathInfo("/m/", "/local/name").reservedLength(), 0u);
}

}  // namespace agent::test
