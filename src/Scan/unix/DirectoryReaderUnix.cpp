#include "Scan/unix/DirectoryReaderUnix.h"

#include <dirent.h>
#include <fcntl.h>

#include <cerrno>
#include <string_view>
#include <utility>

#include "Common/JobMessages.h"
#include "Common/LogManager.h"
#include "Common/ScanAbortException.h"
#include "Common/unix/psmsgutil.h"
#include "Common/unix/pssignal.h"
#include "QLMlib/common/ut/MemoryReserve.h"
#include "QLMlib/common/ut/Trace.h"
#include "Scan/walk/Scanner.h"

namespace agent {

namespace {

constexpr int EXCHANGED = -1;  // no error number: the directory is not the one that was stat'ed

}  // namespace

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

  const int descriptor = openRelative(path);
  const int error = descriptor < 0 ? errno : check(descriptor);
  if (error == 0) {
    TRACE(TR_MAX, ">> opendir() succeed on %s\n", path.c_str());
    return descriptor;
  }
  if (descriptor >= 0) calls_.closeDirectory(descriptor);
  reportUnopened(path, error);
  return CLOSED;
}

/// Opens the root by its local path, any other directory relative to its parent.
int DirectoryReaderUnix::openRelative(const std::string& path) {
  const int32_t level = scanner().currentLevel();
  if (level == 0) return calls_.openDirectory(AT_FDCWD, scanner().localName(path).c_str());
  const size_t name = path.rfind('/') + 1;
  return calls_.openDirectory(scanner().readerAt(level - 1)->handle(), path.c_str() + name);
}

/// Whether a directory has been opened in earnest: it is the one that was stat'ed, and its first entries can
/// be read. One that opens and can't be read must not pass for an empty one.
/// @return 0, the error, or EXCHANGED
int DirectoryReaderUnix::check(int descriptor) {
  if (scanner().currentLevel() > 0) {
    const struct stat& stated = scanner().currentFile().stat;
    struct stat opened = {};
    if (calls_.statEntry(descriptor, "", opened) != 0) return errno;
    // Between the stat and the open, somebody may have put another directory in this place.
    if (opened.st_dev != stated.st_dev || opened.st_ino != stated.st_ino) return EXCHANGED;
  }
  return fill(descriptor) ? 0 : errno;
}

void DirectoryReaderUnix::reportUnopened(const std::string& path, int error) {
  const std::string localName = scanner().localName(path);
  TRACE(TR_MIN, ">> opendir() failed on %s \n", localName.c_str());
  logJobMessage(messages::DIRECTORY_NOT_OPENED,
                {localName, error == EXCHANGED ? std::string("another directory has taken its place")
                                               : getSystemErrorMessage(error)});
  // The directory could be read, but not by us: no tree looks like this to its owner.
  if (isOutOfDescriptors(error)) scanner().giveUp();
}

/// Reads the next entries into the buffer; nothing is left in it at the end of the directory.
/// @return false, with the reason in errno, when they can't be read
bool DirectoryReaderUnix::fill(int descriptor) {
  if (!buffer_) buffer_ = std::make_unique_for_overwrite<char[]>(BUFFER_BYTES);
  const ssize_t count = calls_.readEntries(descriptor, buffer_.get(), BUFFER_BYTES);
  position_ = 0;
  filled_ = count > 0 ? static_cast<size_t>(count) : 0;
  return count >= 0;
}

/// The next name as the system lists it, or null at the end. An error counts as the end: what is left of the
/// directory can't be had.
const char* DirectoryReaderUnix::nextName() {
  if (position_ >= filled_) {
    if (filled_ == 0) return nullptr;
    if (!fill(handle_)) logBreakOff();
    if (filled_ == 0) return nullptr;
  }
  const auto* entry = reinterpret_cast<const dirent64*>(buffer_.get() + position_);
  position_ += entry->d_reclen;
  return entry->d_name;
}

void DirectoryReaderUnix::logBreakOff() const {
  const std::string reason = getSystemErrorMessage();
  const std::string localName = scanner().localName(scanner().path());
  TRACE(TR_MIN, ">> readdir() failed on %s \n", localName.c_str());
  logJobMessage(messages::DIRECTORY_BROKE_OFF, {localName, reason});
  // What a file system lists first is no picture of it: its totals are known to be wrong.
  if (isRoot()) scanner().giveUp();
}

bool DirectoryReaderUnix::nextEntry(std::string& path, int handle, int16_t /*fsType*/) {
  while (true) {
    // For each entry, skipped ones included: a stop takes effect within one, however large the directory is.
    if (stopRequested()) {
      TRACE(TR_MIN, "DirectoryReaderWin32::NextDirEntry() : agentStop is true\n");
      throw ScanAbortException("Scan abort initiated by Server -> terminating scan");
    }
    endWhereMemoryIsShort();
    const char* name = handle == CLOSED ? nullptr : nextName();
    if (name == nullptr) {
      setHandle(CLOSED);
      return false;
    }
    const std::string_view text(name);
    if (scanner().rules().isNoEntry(text)) continue;
    Scanner::ScannerFinishOffNextEntry(path, pathLength(), text);
    return true;
  }
}

int32_t DirectoryReaderUnix::stat(const std::string& path, FileAttributes& attributes, int16_t /*fsType*/) {
  fileInfo& file = scanner().currentFile();
  const bool fits = scanner().ScannerInitStat(path, file);
  if (!fits) logLongPath(path);
  const bool hasLocalPath = scanner().localPath() != nullptr;
  if (!fits || !scanner().Stat(file, hasLocalPath)) {
    TRACE(TR_MIN, "Stat() failed on %s ... returning -1\n", path.c_str());
    attributes.faType = FileAttributes::ENTRY_OTHER_DEVICE;
    return -1;
  }
  if (hasLocalPath) TRACE(TR_MAX, ">> Updated remote path to %s\n", file.path);
  scanner().ScannerFinishOffStat(attributes, file);
  return static_cast<int32_t>(file.stat.st_dev);
}

/// Anybody can hide files behind a long path, so the log tells; once, for whoever can make one can make many.
void DirectoryReaderUnix::logLongPath(const std::string& path) {
  if (std::exchange(longPathLogged_, true)) return;
  logJobMessage(messages::PATH_TOO_LONG, {scanner().localName(path).substr(0, WalkRules::NAME_BUFFER)});
}

std::unique_ptr<DirectoryReader> DirectoryReaderFactoryUnix::newDirectoryReader(Scanner& scanner,
                                                                                bool isRoot) {
  auto reader = std::make_unique<DirectoryReaderUnix>(calls_);
  reader->init(scanner, isRoot);
  return reader;
}

}  // namespace agent
