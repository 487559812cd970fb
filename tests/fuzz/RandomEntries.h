#pragma once

#include <random>

#include "selection/FakeEntry.h"

namespace agent::fuzz {

/// Entries of a walk, drawn from an input so that the same input always meets the same ones.
class RandomEntries {
 public:
  explicit RandomEntries(const std::string& input) : random_(seedOf(input)) {}

  int32_t baseLevel() { return static_cast<int32_t>(random_() % 3); }

  Entry next() {
    std::vector<std::string> directories(random_() % 4);
    for (std::string& directory : directories) directory = name();
    const std::string root = random_() % 2 == 0 ? "/" : "/m/";
    Entry entry(root, directories, name(), {.type = static_cast<int32_t>(random_() % 8)});
    EntryValues& values = entry.values;
    const bool isLarge = random_() % 8 == 0;
    values.size = static_cast<int64_t>(isLarge ? random_() : random_() % 5000);
    values.blocks = static_cast<int64_t>(isLarge ? random_() : random_() % 20);
    values.attributes = (random_() % 2 == 0 ? 0x7E0020U : 0xFFFFFFFFU) & static_cast<uint32_t>(random_());
    values.modified = time();
    values.accessed = time();
    values.now = time();
    values.user = name();
    values.group = name();
    return entry;
  }

 private:
  static uint32_t seedOf(const std::string& input) {
    uint32_t seed = 2166136261U;
    for (const char byte : input) seed = (seed ^ static_cast<unsigned char>(byte)) * 16777619U;
    return seed;
  }

  std::string name() {
    static const std::vector<std::string> NAMES = {"a",        "b",    "ab",    "root",   "x.log", "b.log",
                                                   "tmp",      "etc",  "anna",  "\xE9",   "a\nb",  "*",
                                                   "www-data", "core", "staff", "a]b-c^", "4711",  "%"};
    return NAMES[random_() % NAMES.size()];
  }

  int32_t time() {
    static const std::vector<int32_t> TIMES = {
        0, 1, -1, 1'700'000'000, 1'700'000'000 - 90 * 86'400, INT32_MAX, INT32_MIN};
    return TIMES[random_() % TIMES.size()];
  }

  std::mt19937 random_;
};

}  // namespace agent::fuzz
