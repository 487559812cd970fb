#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "Scan/unix/DirectoryCalls.h"
#include "Scan/walk/DirectoryReader.h"

namespace agent {

/// Reads a directory in the order in which getdents64(2) gives its entries, a buffer at a time.
class DirectoryReaderUnix : public DirectoryReader {
 public:
  explicit DirectoryReaderUnix(DirectoryCalls& calls);
  ~DirectoryReaderUnix() override;
  DirectoryReaderUnix(const DirectoryReaderUnix&) = delete;
  DirectoryReaderUnix& operator=(const DirectoryReaderUnix&) = delete;

  int handle() const override { return handle_; }
  void setHandle(int handle) override;
  int open(const std::string& path) override;
  bool nextEntry(std::string& path, int handle, int16_t fsType) override;
  int32_t stat(const std::string& path, FileAttributes& attributes, int16_t fsType) override;

 private:
  // Big enough that a directory of ordinary size takes one call, small enough for two hundred open levels.
  static constexpr size_t BUFFER_BYTES = 32768;

  int openRelative(const std::string& path);
  int check(int descriptor);
  void reportUnopened(const std::string& path, int error);
  bool fill(int descriptor);
  const char* nextName();
  void logBreakOff() const;
  void logLongPath(const std::string& path);

  DirectoryCalls& calls_;
  int handle_ = CLOSED;
  std::unique_ptr<char[]> buffer_;  // made when the directory is opened
  size_t position_ = 0;
  size_t filled_ = 0;  // 0 from the end of the directory on
  bool longPathLogged_ = false;
};

/// Makes DirectoryReaderUnix readers that share one set of system calls.
class DirectoryReaderFactoryUnix : public DirectoryReaderFactory {
 public:
  explicit DirectoryReaderFactoryUnix(DirectoryCalls& calls) : calls_(calls) {}
  std::unique_ptr<DirectoryReader> newDirectoryReader(Scanner& scanner, bool isRoot) override;

 private:
  DirectoryCalls& calls_;
};

}  // namespace agent
