// The whole program, started as the agent starts it, on file systems made for one test each.
//
//   InstallTree         an install tree with the program in it; runs jobs, reads what they leave
//   Definition          writes scan definitions
//   Results             reads results
//   MountedFileSystem   tmpfs, ext4 images, overlays: in a mount namespace of this process

#include <gtest/gtest.h>

#include "system/MountedFileSystem.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  agent::test::enterPrivateMountNamespace();
  return RUN_ALL_TESTS();
}
