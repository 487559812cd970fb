#pragma once

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <sys/resource.h>

#include <gtest/gtest.h>

namespace agent::test {

inline std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

/// A fixture with a directory of its own, gone after the test.
class FilesTest : public ::testing::Test {
 protected:
  FilesTest() {
    std::string pattern = ::testing::TempDir() + "qlmlibXXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    directory_ = pattern;
  }
  ~FilesTest() override { std::filesystem::remove_all(directory_); }

  std::string path(const std::string& name = "") const {
    return name.empty() ? directory_ : directory_ + "/" + name;
  }

 private:
  std::string directory_;
};

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
