#pragma once

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>

#include <sys/resource.h>

#include <gtest/gtest.h>

#include "common/TemporaryDirectory.h"

namespace agent::test {

inline std::string readFile(const std::string& path) {
  return content(path);
}

inline void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

/// A fixture with a directory of its own, gone after the test.
class FilesTest : public ::testing::Test {
 protected:
  std::string path() const { return directory_.path(); }
  std::string path(const std::string& name) const { return directory_ / name; }

 private:
  TemporaryDirectory directory_;
};

/// A number as the headers of logs and traces have it.
inline std::string padded(uint64_t number, size_t width) {
  std::string text = std::to_string(number);
  return text + std::string(width - text.size(), ' ');
}

/// A full disk: while it lives, the system refuses writes beyond `bytes` of any file.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    previousHandler_ = std::signal(SIGXFSZ, SIG_IGN);
    ::getrlimit(RLIMIT_FSIZE, &previous_);
    rlimit limit = previous_;
    limit.rlim_cur = bytes;
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &previous_);
    std::signal(SIGXFSZ, previousHandler_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit previous_{};
  void (*previousHandler_)(int);
};

}  // namespace agent::test
