#pragma once

#include <sys/stat.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "QLMlib/common/unx/OwnedDescriptor.h"

namespace agent {

/// A directory that is open for reading ahead. Shared by the chunks that still need it and by threads that
/// were given up in a call on it, so that its number can't be closed and used again under them.
struct AheadDirectory {
  AheadDirectory(OwnedDescriptor openDescriptor, std::shared_ptr<std::atomic<size_t>> openCount)
      : descriptor(std::move(openDescriptor)), count(std::move(openCount)) {
    ++*count;
  }
  ~AheadDirectory() { --*count; }
  AheadDirectory(const AheadDirectory&) = delete;
  AheadDirectory& operator=(const AheadDirectory&) = delete;

  const OwnedDescriptor descriptor;
  const std::shared_ptr<std::atomic<size_t>> count;  // of the directories that are open
  size_t atWork = 0;                                 // threads in it; under the lock of ReadAhead
};

/// What of fstatat(2)'s answer a walk uses; half the size of a struct stat.
struct EntryStatus {
  EntryStatus() = default;
  explicit EntryStatus(const struct stat& status)
      : device(status.st_dev),
        inode(status.st_ino),
        size(status.st_size),
        blocks(status.st_blocks),
        modified(status.st_mtime),
        accessed(status.st_atime),
        mode(status.st_mode),
        links(static_cast<uint32_t>(status.st_nlink)),
        user(status.st_uid),
        group(status.st_gid) {}

  void copyTo(struct stat& status) const {
    status.st_dev = device;
    status.st_ino = inode;
    status.st_size = size;
    status.st_blocks = blocks;
    status.st_mtime = modified;
    status.st_atime = accessed;
    status.st_mode = mode;
    status.st_nlink = links;
    status.st_uid = user;
    status.st_gid = group;
  }

  dev_t device = 0;
  ino_t inode = 0;
  off_t size = 0;
  blkcnt_t blocks = 0;
  time_t modified = 0;
  time_t accessed = 0;
  mode_t mode = 0;
  uint32_t links = 0;
  uid_t user = 0;
  gid_t group = 0;
};

/// One name of a chunk and what stat'ing it brought.
struct AheadEntry {
  uint32_t name = 0;  // place in the chunk's bytes
  int32_t error = 0;  // 0 or errno; the status holds only where it is 0
  EntryStatus status;
};

/// A range of entries, its end excluded.
struct EntryRange {
  size_t begin = 0;
  size_t end = 0;
  bool empty() const { return begin == end; }
};

struct Chunk;

/// A chunk's places in the order of work: one for itself until it is ready, and behind that one for those of
/// its sub-directories that nobody has begun. The chunks below it stand in front of the latter.
struct OrderItem {
  std::shared_ptr<Chunk> chunk;
  bool isDescent = false;
};
using ChunkOrder = std::list<OrderItem>;

/// A part of one directory: what one reading of it gave, with every entry stat'ed. The walk takes chunks in
/// depth-first order: a directory's first chunk, then everything below its sub-directories in order, then its
/// next chunk.
///
///            ┌─────────┐  begun  ┌─────────┐  read  ┌─────────┐  all stat'ed  ┌───────┐
///            │ TO_READ │───────▶ │ READING │──────▶ │ STATING │─────────────▶ │ READY │
///            └─────────┘         └─────────┘        └─────────┘               └───────┘
///
/// From READY on the entries are the walk's, which reads them without a lock. Until then who reads or stats
/// writes them: each his range. All else, phase and places in the order, is under the lock of ReadAhead.
struct Chunk {
  enum class Phase { TO_READ, READING, STATING, READY };

  // What is known of the directory before it is read.
  std::string name;                        // for openat(2), relative to `parent`
  std::shared_ptr<AheadDirectory> parent;  // null for the root, whose name is a path
  EntryStatus expected;                    // what the directory was when it was stat'ed
  int32_t level = 0;                       // 0 for the root
  size_t pathLength = 0;                   // of the directory's logical path

  // The answer.
  int openError = 0;        // of openat(2)
  int openedError = 0;      // of the stat of the open directory
  EntryStatus opened;       // that stat's answer
  std::vector<char> bytes;  // entries as getdents64(2) lays them out
  std::vector<AheadEntry> entries;
  int readError = 0;  // what ended the reading behind these entries
  bool isLast = false;
  std::atomic<bool> isReady = false;  // for the walk; as the phase says

  // Under the lock.
  Phase phase = Phase::TO_READ;
  std::shared_ptr<AheadDirectory> directory;  // while it is needed
  std::shared_ptr<Chunk> following;           // the directory's next chunk; made when this one has been read
  std::vector<EntryRange> toStat;             // that nobody has taken; the last one first
  std::vector<EntryRange> stated;             // behind statedTo, in order
  size_t statedTo = 0;                        // the entries before it have been stat'ed
  std::vector<uint32_t> subDirectories;       // entries before statedTo that the walk goes down into
  std::vector<std::shared_ptr<Chunk>> below;  // first chunks of those that were begun
  bool waitsForTurn = false;                  // it is opened when the walk waits for it, not before
  ChunkOrder::iterator place;                 // until it is ready
  ChunkOrder::iterator descent;               // while there is one
  bool hasDescent = false;

  const char* nameOf(const AheadEntry& entry) const { return bytes.data() + entry.name; }
  size_t memory() const { return sizeof(Chunk) + bytes.size() + entries.size() * sizeof(AheadEntry); }
};

}  // namespace agent
