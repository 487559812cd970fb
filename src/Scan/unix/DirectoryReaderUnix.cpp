#include "Scan/unix/DirectoryReaderUnix.h"

#include <dirent.h>
#include <fcntl.h>

#include <string_view>

#include "Common/LogManager.h"
#include "Common/ScanAbortException.h"
#include "Common/unix/psmsgutil.h"
#include "Common/unix/pssignal.h"
#include "Probe/Filesystem.h"
#include "QLMlib/common/ut/Trace.h"
#include "Scan/walk/Scanner.h"

namespace agent {

DirectoryReaderUnix::DirectoryReaderUnix(DirectoryCalls& calls) : calls_(calls) {}

DirectoryReaderUnix::~DirectoryReaderUnix() {
  if (handle_ != CLOSED) calls_.closeDirectory(handle_);
}

void DirectoryReaderUnix::setHandle(int handle) {
  if (handle_ != CLOSED && handle_ != handle) {
    calls_.closeDirectory(handle_);
  }
  handle_ = handle;
}

int DirectoryReaderUnix::open(const std::string& path) {
  if (!scanner().ScannerInitOpen(path)) return CLOSED;

  const int32_t level = scanner().currentLevel();
  int descriptor = -1;
  std::string reason;
  if (level == 0) {
    descriptor = calls_.openDirectory(AT_FDCWD, scanner().localName(path).c_str());
  } else {
    const size_t name = path.rfind('/') + 1;
    descriptor = calls_.openDirectory(scanner().readerAt(level - 1)->handle(), path.c_str() + name);
    // Between the stat and the open, somebody may have put another directory in this place.
    if (descriptor >= 0 && !isDirectoryThatWasStated(descriptor)) {
      calls_.closeDirectory(descriptor);
      descriptor = -1;
      reason = "another directory has taken its place";
    }
  }
  if (descriptor < 0) {
    if (reason.empty()) reason = getSystemErrorMessage();
    const std::string localName = scanner().localName(path);
    TRACE(TR_MIN, ">> opendir() failed on %s \n", localName.c_str());
    logJobMessage(421, "STA0121E", {localName, reason});
    return CLOSED;
  }
  TRACE(TR_MAX, ">> opendir() succeed on %s\n", path.c_str());
  return descriptor;
}

bool DirectoryReaderUnix::isDirectoryThatWasStated(int descriptor) const {
  const struct stat& stated = scanner().currentFile().stat;
  struct stat opened = {};
  return calls_.statEntry(descriptor, "", opened) == 0 && opened.st_dev == stated.st_dev &&
         opened.st_ino == stated.st_ino;
}

/// The next name as the system lists it, or null at the end. An error counts as the end: what is left of the
/// directory can't be had. One that comes before the first name makes it a directory that couldn't be opened.
const char* DirectoryReaderUnix::nextName() {
  if (position_ >= filled_) {
    if (!buffer_) buffer_ = std::make_unique_for_overwrite<char[]>(BUFFER_BYTES);
    const ssize_t count = calls_.readEntries(handle_, buffer_.get(), BUFFER_BYTES);
    if (count < 0) logReadFailure();
    if (count <= 0) return nullptr;
    position_ = 0;
    filled_ = static_cast<size_t>(count);
  }
  const auto* entry = reinterpret_cast<const dirent64*>(buffer_.get() + position_);
  position_ += entry->d_reclen;
  return entry->d_name;
}

void DirectoryReaderUnix::logReadFailure() const {
  const std::string reason = getSystemErrorMessage();
  const std::string localName = scanner().localName(scanner().path());
  const bool nothingWasRead = filled_ == 0;
  TRACE(TR_MIN, ">> readdir() failed on %s \n", localName.c_str());
  if (nothingWasRead) {
    logJobMessage(421, "STA0121E", {localName, reason});
  } else {
    logJobMessage(2604, "GEN0104W", {localName, reason});
  }
}

bool DirectoryReaderUnix::nextEntry(std::string& path, int handle, int16_t fsType) {
  while (true) {
    // For each entry, skipped ones included: a stop takes effect within one, however large the directory is.
    if (stopRequested()) {
      TRACE(TR_MIN, "DirectoryReaderWin32::NextDirEntry() : agentStop is true\n");
      throw ScanAbortException("Scan abort initiated by Server -> terminating scan");
    }
    const char* name = handle == CLOSED ? nullptr : nextName();
    if (name == nullptr) {
      setHandle(CLOSED);
      return false;
    }
    const std::string_view text(name);
    if (text == "." || text == "..") continue;
    if (text == ".quickcopy" && Filesystem::isCLFSFileset(fsType)) continue;
    Scanner::ScannerFinishOffNextEntry(path, pathLength(), text);
    return true;
  }
}

int32_t DirectoryReaderUnix::stat(const std::string& path, FileAttributes& attributes, int16_t /*fsType*/) {
  fileInfo& file = scanner().currentFile();
  if (!scanner().ScannerInitStat(path, file) || !scanner().Stat(file, scanner().localPath() != nullptr)) {
    TRACE(TR_MIN, "Stat() failed on %s ... returning -1\n", path.c_str());
    attributes.faType = FileAttributes::ENTRY_OTHER_DEVICE;
    return -1;
  }
  scanner().ScannerFinishOffStat(attributes, file);
  return static_cast<int32_t>(file.stat.st_dev);
}

std::unique_ptr<DirectoryReader> DirectoryReaderFactoryUnix::newDirectoryReader(Scanner& scanner,
                                                                                bool isRoot) {
  auto reader = std::make_unique<DirectoryReaderUnix>(calls_);
  reader->init(scanner, isRoot);
  return reader;
}

}  // namespace agent
