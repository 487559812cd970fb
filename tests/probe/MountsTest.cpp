#include "Probe/Mounts.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <utility>

#include "Probe/Filesystem.h"
#include "support/JobLog.h"
#include "support/TemporaryDirectory.h"

namespace agent::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;

class MountsTest : public ::testing::Test {
 protected:
  /// Source and mount point of each entry that is kept.
  std::vector<std::pair<std::string, std::string>> kept(const std::string& table) {
    Mounts mounts(directory_.file("mtab", table));
    EXPECT_TRUE(mounts.openMnttab());
    std::vector<std::pair<std::string, std::string>> entries;
    while (mounts.nextMount()) entries.emplace_back(mounts.filesystem, mounts.mntPt);
    return entries;
  }
  Mounts mountOf(const std::string& source, const std::string& type) {
    Mounts mount;
    mount.filesystem = source;
    mount.mntPt = directory_.path();
    mount.fsType = type;
    return mount;
  }
  /// A device image with 32-bit and 16-bit little-endian numbers at given places.
  std::string image(const std::vector<std::pair<size_t, uint32_t>>& numbers, size_t size = 4096) {
    std::string bytes(size, '\0');
    for (const auto& [place, number] : numbers) {
      for (size_t i = 0; i < 4; ++i) bytes[place + i] = static_cast<char>(number >> (8 * i) & 0xFF);
    }
    return directory_.file("image", bytes);
  }

  TemporaryDirectory directory_;
  JobLog log_;
};

TEST_F(MountsTest, KeepsWhatAScanMayTouch) {
  EXPECT_THAT(kept("# comment\n"
                   "/dev/a / ext4 rw 0 0\n"
                   "proc /proc proc rw 0 0\n"
                   "s /sys sysfs rw 0 0\n"
                   "srv:/e /mnt/n nfs rw 0 0\n"
                   "n /proc/fs/nfsd nfsd rw 0 0\n"
                   "//h/s /mnt/s smbfs rw 0 0\n"
                   "g /run/g fuse.gvfs-fuse-daemon rw 0 0\n"
                   "g /run/h fuse.gvfs-fuse-daemon2 rw 0 0\n"
                   "x /usb usbfs rw 0 0\n"
                   "y /with\\040blank xfs rw 0 0\n"
                   "a /auto autofs rw 0 0\n"),
              ElementsAre(Pair("/dev/a", "/"), Pair("s", "/sys"), Pair("srv:/e", "/mnt/n"),
                          Pair("g", "/run/h"), Pair("x", "/usb"), Pair("y", "/with blank")));
}

TEST_F(MountsTest, TakesDamagedTablesAsTheyCome) {
  EXPECT_TRUE(kept("").empty());
  EXPECT_THAT(kept("/dev/a"), ElementsAre(Pair("/dev/a", "")));
  const std::string endless(5000, 'x');
  EXPECT_THAT(kept(endless + " /m ext4 rw 0 0\n/dev/b /b xfs rw 0 0\n"),
              ElementsAre(Pair(testing::StartsWith("xxxx"), ""), Pair("/dev/b", "/b")));
}

TEST_F(MountsTest, NamesAClusterByItsFirstDirectory) {
  directory_.file("set/.hidden/x");
  directory_.file("set/file");
  directory_.file("set/thecluster/x");
  EXPECT_THAT(kept("c " + (directory_ / "set") + " clts_v1 rw 0 0\n"),
              ElementsAre(Pair("thecluster", directory_ / "set")));

  // Without a name the rest of the table stays unread.
  EXPECT_THAT(
      kept("/dev/a /a xfs rw 0 0\nc " + (directory_ / "none") + " clfs rw 0 0\n/dev/b /b xfs rw 0 0\n"),
      ElementsAre(Pair("/dev/a", "/a")));
  EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("STA0620E"), HasSubstr("STA0622E")));
}

TEST_F(MountsTest, SaysWhyATableCannotBeOpened) {
  ASSERT_EQ(mkfifo((directory_ / "fifo").c_str(), 0600), 0);
  const std::pair<std::string, std::string> cases[] = {
      {directory_ / "none",
       "No such file or directory; and \"" + (directory_ / "kernel") + "\": No such file"},
      {directory_.path(), "Is a directory"},
      {directory_ / "fifo", "it is no file"},
  };
  for (const auto& [table, reason] : cases) {
    Mounts mounts(table, directory_ / "kernel");
    EXPECT_FALSE(mounts.openMnttab()) << table;
    EXPECT_FALSE(mounts.nextMount());
    EXPECT_THAT(log_.lines().back(), AllOf(HasSubstr("STA0094E"), HasSubstr(reason)));
  }
}

TEST_F(MountsTest, TellsATableThatBreaksOffFromOneThatEnds) {
  const std::string whole = directory_.file("mtab", "/dev/a / ext4 rw 0 0\n");
  const std::string unreadable = "/proc/self/mem";  // a file whose first page can't be read
  for (const std::string& table : {unreadable, whole}) {
    Mounts mounts(table);
    ASSERT_TRUE(mounts.openMnttab());
    while (mounts.nextMount()) {
    }
    EXPECT_EQ(mounts.readFailed(), table == unreadable);
  }
  EXPECT_THAT(log_.lines(), ElementsAre(AllOf(HasSubstr("STA0094E"), HasSubstr("Input/output error"))));
}

TEST_F(MountsTest, FileSystemsThatKnowNoInodesKeepWhatTheDefinitionGave) {
  for (const char* type : {"reiserfs", "vxfs"}) {
    Filesystem filesystem;
    filesystem.fsMaxFiles = filesystem.fsUsedInodes = filesystem.fsFreeInodes = 2;
    EXPECT_EQ(mountOf("none", type).statFS(filesystem, 0), 0);
    EXPECT_EQ(filesystem.fsMaxFiles + filesystem.fsUsedInodes + filesystem.fsFreeInodes, 6);
  }
}

TEST_F(MountsTest, TakesThePhysicalSizeFromTheDevice) {
  const std::tuple<const char*, std::vector<std::pair<size_t, uint32_t>>, int64_t> cases[] = {
      {"ext4", {{1024 + 4, 1000}, {1024 + 24, 2}}, 8000},  // 4,096-byte blocks
      {"ext2", {{1024 + 4, 1000}, {1024 + 24, 0}}, 2000},
      {"ext4", {{1024 + 4, 0x20000000}, {1024 + 24, 2}}, 0},            // 2 TiB: the product has 32 bits,
      {"ext4", {{1024 + 4, 0x10000000}, {1024 + 24, 2}}, -2147483648},  // and a sign
      {"ext4", {{1024 + 4, 3}, {1024 + 24, 0xFFFFFFFF}}, 3},            // nonsense shifts within 32 bits
      {"msdos", {{19, 2880}}, 2880},
      {"fat", {{32, 70000}}, 70000},  // where the 16-bit field is 0
  };
  for (const auto& [type, numbers, size] : cases) {
    Filesystem filesystem;
    EXPECT_EQ(mountOf(image(numbers), type).statFS(filesystem, 0), 0);
    EXPECT_EQ(filesystem.fsPhysicalSize, size) << type;
  }
}

TEST_F(MountsTest, GivesAFileSystemUpWhoseDeviceCannotBeRead) {
  Filesystem filesystem;
  EXPECT_EQ(mountOf(directory_ / "none", "ext3").statFS(filesystem, 0), 4);
  EXPECT_NE(mountOf(image({}, 1100), "ext3").statFS(filesystem, 0), 0);
  EXPECT_NE(mountOf(image({}, 100), "msdos").statFS(filesystem, 0), 0);
  EXPECT_EQ(mountOf(directory_ / "none", "vfat").statFS(filesystem, 0), 0);  // not a layout that is looked at
  EXPECT_THAT(log_.lines(),
              ElementsAre(AllOf(HasSubstr("STA0097E"), HasSubstr(directory_ / "none - No such")),
                          HasSubstr("STA0099E"), HasSubstr("STA0099E")));
}

}  // namespace
}  // namespace agent::test
