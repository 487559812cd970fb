#pragma once

#include <string>
#include <utility>
#include <vector>

#include "support/TemporaryDirectory.h"

namespace agent::test {

inline std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

constexpr const char* MADE_AT = "1795560053123";  // 2026-11-24 22:40:53

/// A result of two file systems, the first of them empty. 54321, who is gone, has 96 blocks of the other one.
/// @param mountPoint of that one, bytes
/// @param changes texts of the result with what stands there instead
inline std::string madeResult(const std::string& mountPoint,
                              std::vector<std::pair<std::string, std::string>> changes = {}) {
  changes.insert(changes.end(), {{"{one}", replaced(mountPoint, "\"", "\"\"")},
                                 {"{two}", "/two"},
                                 {"{now}", MADE_AT},
                                 {"{fsCapacity}", "1000"},
                                 {"{fsUsedSpace}", "600"},
                                 {"{fsFreeSpace}", "400"}});
  std::string text = content(RESULTS "/two_file_systems.dat");
  for (const auto& [from, to] : changes) text = replaced(text, from, to);
  return text;
}

}  // namespace agent::test
