#include "Scan/ahead/AheadDirectoryCalls.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace agent {

namespace {

int answer(int error) {
  if (error == 0) return 0;
  errno = error;
  return -1;
}

/// Whole entries from `begin` on that fit into `size` bytes.
size_t wholeEntries(const std::vector<char>& bytes, size_t begin, size_t size) {
  if (bytes.size() - begin <= size) return bytes.size() - begin;
  size_t end = begin;
  while (true) {
    const size_t next = end + reinterpret_cast<const dirent64*>(bytes.data() + end)->d_reclen;
    if (next - begin > size) return end - begin;
    end = next;
  }
}

}  // namespace

int AheadDirectoryCalls::openDirectory(int parent, const char* name) {
  std::shared_ptr<Chunk> chunk = firstChunk(parent, name);
  // All that the walk opens its own rules let it, and those are ours.
  if (!chunk) return answer(ENOENT);
  readAhead_->await(*chunk);
  if (chunk->openError != 0) return answer(chunk->openError);
  places_.push_back({.chunk = std::move(chunk)});
  return static_cast<int>(places_.size()) - 1;
}

std::shared_ptr<Chunk> AheadDirectoryCalls::firstChunk(int parent, const char* name) {
  if (parent == AT_FDCWD) return readAhead_->begin(name);
  Place& place = places_[static_cast<size_t>(parent)];
  Chunk& chunk = *place.chunk;
  while (place.subDirectory < chunk.subDirectories.size()) {
    const size_t number = place.subDirectory++;
    const AheadEntry& entry = chunk.entries[chunk.subDirectories[number]];
    if (std::strcmp(chunk.nameOf(entry), name) == 0) return readAhead_->below(chunk, number);
  }
  return nullptr;
}

ssize_t AheadDirectoryCalls::readEntries(int directory, void* buffer, size_t size) {
  Place& place = places_[static_cast<size_t>(directory)];
  while (place.byte == place.chunk->bytes.size()) {
    if (place.chunk->readError != 0) return answer(place.chunk->readError);
    if (place.chunk->isLast) return 0;
    place = {.chunk = readAhead_->following(*place.chunk)};
    readAhead_->await(*place.chunk);
  }
  const std::vector<char>& bytes = place.chunk->bytes;
  const size_t given = wholeEntries(bytes, place.byte, size);
  std::memcpy(buffer, bytes.data() + place.byte, given);
  place.byte += given;
  return static_cast<ssize_t>(given);
}

int AheadDirectoryCalls::statEntry(int directory, const char* name, struct stat& status) {
  Place& place = places_[static_cast<size_t>(directory)];
  const Chunk& chunk = *place.chunk;
  if (*name == '\0') {
    if (chunk.openedError == 0) chunk.opened.copyTo(status);
    return answer(chunk.openedError);
  }
  while (place.entry < chunk.entries.size()) {
    const AheadEntry& entry = chunk.entries[place.entry++];
    if (std::strcmp(chunk.nameOf(entry), name) != 0) continue;
    if (entry.error == 0) entry.status.copyTo(status);
    return answer(entry.error);
  }
  return answer(ENOENT);
}

void AheadDirectoryCalls::closeDirectory(int directory) {
  places_.resize(std::min(places_.size(), static_cast<size_t>(directory)));
}

}  // namespace agent
