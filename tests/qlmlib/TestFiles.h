#pragma once

#include <gtest/gtest.h>

#include "support/TemporaryDirectory.h"

namespace agent::test {

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

}  // namespace agent::test
