#include "Scan/unix/ScannerUnix.h"

#include <array>
#include <cerrno>

#include "Common/JobMessages.h"
#include "Common/LogManager.h"
#include "Common/unix/psmsgutil.h"

namespace agent {

namespace {

// File type by the four type bits of st_mode (inode(7)).
constexpr std::array<int16_t, 16> TYPE_BY_MODE = {0, 4, 6, 0, 3, 0, 6, 0, 1, 0, 2, 0, 5, 0, 0, 0};
constexpr mode_t BLOCK_DEVICE_BITS = 6;
constexpr mode_t EXECUTE_BITS = 0x49;
constexpr mode_t SPECIAL_BITS = 0xE00;  // set-user-ID, set-group-ID, sticky
constexpr int SPECIAL_BITS_SHIFT = 11;  // to their places in the portable attribute word

uint32_t attributeWord(mode_t mode, int32_t type) {
  uint32_t word = (mode & SPECIAL_BITS) << SPECIAL_BITS_SHIFT;
  if (mode >> 12 == BLOCK_DEVICE_BITS) word |= ATTRIBUTE_BLOCK_DEVICE;
  if (type == FileAttributes::REGULAR_FILE && (mode & EXECUTE_BITS) != 0) word |= ATTRIBUTE_EXECUTABLE;
  return word;
}

}  // namespace

bool ScannerUnix::Stat(fileInfo& file, bool /*remote*/) {
  const DirectoryReader& directory = *readerAt(currentLevel());
  // The entry's name is what its path has more than its directory's; nothing more: the directory itself.
  const char* name = file.path + directory.pathLength();
  if (*name == '/') ++name;

  struct stat& status = file.stat;
  if (calls_.statEntry(directory.handle(), name, status) != 0) {
    const int error = errno;
    logJobMessage(messages::ENTRY_NOT_READ,
                  {localName({file.path, file.pathLength}), getSystemErrorMessage(error)});
    if (isOutOfDescriptors(error)) giveUp();
    return false;
  }
  file.type = TYPE_BY_MODE[(status.st_mode >> 12) & 0xF];
  if (file.type == FileAttributes::DIRECTORY) status.st_nlink = 1;
  status.st_mode = attributeWord(status.st_mode, file.type);
  // Times are signed 32-bit numbers in all that follows, so they are compared as such.
  status.st_mtime = static_cast<int32_t>(status.st_mtime);
  status.st_atime = static_cast<int32_t>(status.st_atime);
  if (status.st_atime < status.st_mtime) status.st_atime = status.st_mtime;
  return true;
}

}  // namespace agent
