#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace agent {

class FileAttributes;
class Scanner;

/// One open directory on the walk's stack. Yields its entries one at a time, in the order of the file system;
/// "." and ".." never. Owned by the Scanner, used on the walk's thread only.
///
/// Order of calls: init once, then next until it answers false. A directory that could not be opened behaves
/// like an empty one: the message has been logged, the walk goes on. What is below (open, nextEntry, stat)
/// may be filled in by whoever has read the directory, at the time or ahead of it: the walk doesn't care.
class DirectoryReader {
 public:
  static constexpr int CLOSED = -1;

  virtual ~DirectoryReader() = default;

  /// Opens the directory that the scanner's path names.
  void init(Scanner& scanner, bool isRoot);

  /// Moves to the next entry and fills the scanner's FileAttributes. An entry on another device, or one that
  /// can't be read, gets the type ENTRY_OTHER_DEVICE.
  /// @return false at the end of the directory
  /// @throws ScanAbortException when the job was told to stop
  bool next(int16_t fsType);

  /// Length of the directory's own path; the root's includes its trailing slash.
  size_t pathLength() const { return pathLength_; }
  bool isRoot() const { return isRoot_; }

  /// The open directory, CLOSED when it never was opened or has come to its end.
  virtual int handle() const = 0;
  virtual void setHandle(int handle) = 0;

  /// @return the handle, or CLOSED; failures have been logged
  virtual int open(const std::string& path) = 0;

  /// Puts the logical full path of the next entry into `path`.
  /// @return false at the end of the directory, which closes it
  virtual bool nextEntry(std::string& path, int handle, int16_t fsType) = 0;

  /// Fills `attributes` for the entry at `path` and evaluates the scanner's selections on it.
  /// @return the low 32 bits of its device number, or -1 after a failure that has been logged
  virtual int32_t stat(const std::string& path, FileAttributes& attributes, int16_t fsType) = 0;

 protected:
  Scanner& scanner() const { return *scanner_; }

 private:
  bool isRoot_ = false;
  size_t pathLength_ = 0;
  Scanner* scanner_ = nullptr;
};

/// Makes the readers of a walk.
class DirectoryReaderFactory {
 public:
  virtual ~DirectoryReaderFactory() = default;

  /// @return a reader on which init has been called
  virtual std::unique_ptr<DirectoryReader> newDirectoryReader(Scanner& scanner, bool isRoot) = 0;
};

}  // namespace agent
