#pragma once

#include <cstdint>

namespace agent {

/// An owner's identifier in a form that is the same on every platform. On this one it wraps a uid or gid by
/// value: making one costs nothing, which matters twice for each entry of a walk.
class Sid {
 public:
  constexpr explicit Sid(uint32_t id) : id_(id) {}

  /// The uid or gid.
  constexpr uint32_t id() const { return id_; }

  /// The identifier as records hold it: 4294967295 is -1.
  constexpr int32_t key() const { return static_cast<int32_t>(id_); }

  /// All four bytes folded into one.
  constexpr uint32_t hash() const { return (id_ ^ (id_ >> 8) ^ (id_ >> 16) ^ (id_ >> 24)) & 0xFF; }

  friend constexpr bool operator==(Sid, Sid) = default;

 private:
  uint32_t id_;
};

}  // namespace agent
