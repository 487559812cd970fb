#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

namespace agent::test {

/// Looks again every few milliseconds until a condition holds. @return false when it doesn't in ten seconds
template <typename Condition>
bool eventually(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

/// How many threads ("task") or open descriptors ("fd") a process has; none once it has ended.
/// @param process its number, or "self"
inline ptrdiff_t countOf(const char* what, const std::string& process = "self") {
  std::error_code gone;
  const std::filesystem::directory_iterator entries("/proc/" + process + "/" + what, gone);
  return std::distance(entries, {});
}

}  // namespace agent::test
