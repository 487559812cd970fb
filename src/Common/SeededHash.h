#pragma once

#include <cstddef>
#include <cstdint>
#include <random>

namespace agent {

/// A hash of 64-bit numbers that nobody outside the process can foresee. Inode numbers, owners and extensions
/// are chosen by users and servers: with a plain hash they could choose ones that all fall into one bucket
/// and stall a scan. The process draws one seed for all its tables: drawing one for each costs more than a
/// small result, and whoever could learn the one seed could learn them all.
class SeededHash {
 public:
  SeededHash() : seed_(processSeed()) {}

  /// The finalizer of splitmix64 (Vigna, https://prng.di.unimi.it/splitmix64.c: public domain) over the
  /// number and the seed.
  size_t operator()(uint64_t number) const {
    uint64_t z = (number ^ seed_) + 0x9E3779B97F4A7C15;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
    return static_cast<size_t>(z ^ (z >> 31));
  }

 private:
  static uint64_t processSeed() {
    static const uint64_t SEED = static_cast<uint64_t>(std::random_device{}()) << 32 | std::random_device{}();
    return SEED;
  }

  uint64_t seed_;
};

}  // namespace agent
