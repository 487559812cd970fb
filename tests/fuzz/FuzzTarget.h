#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

/// What both drivers, libFuzzer and CorpusDriver, call with one input. Each target's file defines it; a fault
/// shows as a sanitizer's report or an abort.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace agent::fuzz {

/// A promise that has to hold for every input.
inline void require(bool holds, const char* promise) {
  if (holds) return;
  std::fprintf(stderr, "broken promise: %s\n", promise);
  std::abort();
}

inline std::string textOf(const uint8_t* data, size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

}  // namespace agent::fuzz
