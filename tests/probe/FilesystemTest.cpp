#include "Probe/Filesystem.h"

#include <gmock/gmock.h>

#include "Common/GenericPrint.h"
#include "Common/VoxObjectCreationException.h"
#include "Probe/NasFiler.h"
#include "support/TemporaryDirectory.h"

namespace agent::test {
namespace {

std::string written(const std::function<void(GenericPrint&)>& write) {
  const TemporaryDirectory directory;
  GenericPrint print(GenericPrint::VOX_FORMAT, directory / "out");
  write(print);
  print.closeFile();
  return content(directory / "out");
}

TEST(Filesystem, PrintsWhatItHasReadInTheOrderOfItsColumns) {
  Filesystem filesystem;
  filesystem.inititializeObject(
      {"fsScanned", "fsMountPoint", "fsID", "hostNasMountPoint", "fsMaxFiles", "fsType", "fsUnknown",
       "fsLogDiskID", "fsLogicalDiskID", "fsFileCount", "fsExportName"},
      {{"y", "/home", "7", "/a,,/b", "9223372036854775808", "65559", "x", "1", "2", "3", "exp"}});
  EXPECT_EQ(
      written([&](GenericPrint& print) { filesystem.printData(print); }),
      "[Filesystem]\n\"7\",\"0\",\"0\",\"1\",\"2\",\"9223372036854775807\",\"0\",\"0\",\"0\",\"0\",\"0\","
      "\"0\",\"3\",\"0\",\"0\",\"23\",\"0\",\"/home\",\"/a,,/b\",\"0\",\"0\",\"exp\",\"Y\"\n"
      "[/Filesystem]\n");
}

TEST(Filesystem, RefusesARowOfAnotherLengthThanItsHeader) {
  const Row header = {"fsID", "fsMountPoint"};
  for (const Rows& rows : {Rows{}, Rows{{"1"}}, Rows{{"1", "/", "more"}}}) {
    Filesystem filesystem;
    EXPECT_THROW(filesystem.inititializeObject(header, rows), VoxObjectCreationException);
    NasFiler filer;
    EXPECT_THROW(filer.initializeObject({"nfName", "nfOSType"}, rows), VoxObjectCreationException);
    Domain domain;
    EXPECT_THROW(domain.initializeObject({"domID", "domName"}, rows), VoxObjectCreationException);
  }
}

}  // namespace
}  // namespace agent::test
