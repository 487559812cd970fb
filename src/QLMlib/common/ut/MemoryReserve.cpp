#include "QLMlib/common/ut/MemoryReserve.h"

#include <dlfcn.h>
#include <malloc.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>

namespace agent {

std::atomic<bool> memoryIsShort{false};

}  // namespace agent

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

namespace agent {
namespace {

// What the end of a job needs is some dozens of kilobytes.
constexpr size_t RESERVE_BYTES = size_t{1024} * 1024;
// A table that grows must not take what the end needs.
constexpr size_t LARGEST_PIECE = size_t{16} * 1024;
constexpr size_t ALIGNMENT = alignof(std::max_align_t);
// In front of each piece stands its size.
constexpr size_t HEADER = std::max(ALIGNMENT, sizeof(size_t));

alignas(std::max_align_t) std::array<std::byte, RESERVE_BYTES> reserve;
std::atomic<size_t> taken{0};

/// Whose functions come next: the C library's, or those of whatever was preloaded.
struct NextAllocator {
  void* (*malloc)(size_t);
  void* (*calloc)(size_t, size_t);
  void* (*realloc)(void*, size_t);
  void (*free)(void*);
};
NextAllocator next = {};
bool isSearching = false;

template <typename Function>
void find(Function*& function, const char* name) {
  function = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// Finds the next allocator: with the first call, before there are threads.
/// @return false while it is being searched, which may take memory
bool haveNext() {
  if (next.free != nullptr) return true;
  if (isSearching) return false;
  isSearching = true;
  find(next.malloc, "malloc");
  find(next.calloc, "calloc");
  find(next.realloc, "realloc");
  find(next.free, "free");
  isSearching = false;
  return true;
}

/// Pieces are never given back: the process is about to end.
void* takeFromReserve(size_t size) {
  if (size > LARGEST_PIECE) return nullptr;
  const size_t needed = HEADER + (size + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
  const size_t begin = taken.fetch_add(needed);
  if (begin > RESERVE_BYTES - needed) {
    taken = RESERVE_BYTES;
    return nullptr;
  }
  std::byte* const piece = reserve.data() + begin + HEADER;
  std::memcpy(piece - HEADER, &size, sizeof size);
  return piece;
}

bool isFromReserve(const void* piece) {
  const std::less<const void*> isBefore;
  return !isBefore(piece, reserve.data()) && isBefore(piece, reserve.data() + reserve.size());
}

size_t sizeInReserve(const void* piece) {
  size_t size = 0;
  std::memcpy(&size, static_cast<const std::byte*>(piece) - HEADER, sizeof size);
  return size;
}

/// What the system could not give.
void* takeInstead(size_t size) {
  memoryIsShort = true;
  return takeFromReserve(size);
}

}  // namespace
}  // namespace agent

extern "C" void* malloc(size_t size) noexcept {
  if (!agent::haveNext()) return agent::takeFromReserve(size);
  void* const piece = agent::next.malloc(size);
  return piece != nullptr ? piece : agent::takeInstead(size);
}

extern "C" void* calloc(size_t count, size_t size) noexcept {
  size_t bytes = 0;
  const bool fits = !__builtin_mul_overflow(count, size, &bytes);
  // The reserve is zero as it stands: no piece of it is used twice.
  if (!agent::haveNext()) return fits ? agent::takeFromReserve(bytes) : nullptr;
  void* const piece = agent::next.calloc(count, size);
  return piece != nullptr || !fits ? piece : agent::takeInstead(bytes);
}

extern "C" void* realloc(void* old, size_t size) noexcept {
  if (old == nullptr) return malloc(size);
  const bool isReserve = agent::isFromReserve(old);
  if (!isReserve) {
    void* const piece = agent::next.realloc(old, size);
    if (piece != nullptr || size == 0) return piece;
  }
  void* const piece = isReserve ? malloc(size) : agent::takeInstead(size);
  if (piece == nullptr) return nullptr;
  const size_t before = isReserve ? agent::sizeInReserve(old) : malloc_usable_size(old);
  std::memcpy(piece, old, std::min(size, before));
  free(old);
  return piece;
}

extern "C" void free(void* piece) noexcept {
  if (piece != nullptr && !agent::isFromReserve(piece)) agent::next.free(piece);
}

#endif
