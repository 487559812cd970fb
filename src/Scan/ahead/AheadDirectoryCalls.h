#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "Scan/ahead/ReadAhead.h"
#include "Scan/unix/DirectoryCalls.h"

namespace agent {

/// The calls of a walk, answered from what was read ahead of it: the walk asks as if it read by itself, and
/// gets the same answers and errors in the same order. A call that was given up fails with ESTALE.
///
/// It answers one walk, which asks in depth-first order: a directory's names in turn, a sub-directory when
/// its name has been stat'ed.
class AheadDirectoryCalls : public DirectoryCalls {
 public:
  /// @param readAhead started
  explicit AheadDirectoryCalls(std::unique_ptr<ReadAhead> readAhead) : readAhead_(std::move(readAhead)) {}

  // Each throws what ReadAhead::await throws.

  /// @return the level of the directory in the walk, which stands for its descriptor
  int openDirectory(int parent, const char* name) override;
  ssize_t readEntries(int directory, void* buffer, size_t size) override;
  int statEntry(int directory, const char* name, struct stat& status) override;
  void closeDirectory(int directory) override;

 private:
  /// How far the walk has come in a directory.
  struct Place {
    std::shared_ptr<Chunk> chunk;
    size_t byte = 0;          // of the chunk's bytes: what is given next
    size_t entry = 0;         // the first that the walk hasn't asked about
    size_t subDirectory = 0;  // the first that the walk hasn't opened or passed over
  };

  std::shared_ptr<Chunk> firstChunk(int parent, const char* name);

  std::unique_ptr<ReadAhead> readAhead_;
  std::vector<Place> places_;  // one for each level
};

}  // namespace agent
