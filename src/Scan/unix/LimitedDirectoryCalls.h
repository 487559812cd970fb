#pragma once

#include <unordered_map>

#include "QLMlib/common/unx/LimitedCalls.h"
#include "Scan/unix/DirectoryCalls.h"

namespace agent {

/// The same calls with a time limit: a mount whose server is gone costs the limit for each call, not the job.
/// A call that was given up fails with ESTALE. A directory in which one hangs stays open until it returns.
class LimitedDirectoryCalls : public DirectoryCalls {
 public:
  /// @param seconds limit of each call, above 0
  explicit LimitedDirectoryCalls(int seconds) : seconds_(seconds) {}

  int openDirectory(int parent, const char* name) override;
  ssize_t readEntries(int directory, void* buffer, size_t size) override;
  int statEntry(int directory, const char* name, struct stat& status) override;
  void closeDirectory(int directory) override;

 private:
  SharedDirectory shared(int directory) const;

  int seconds_;
  std::unordered_map<int, SharedDirectory> open_;
};

}  // namespace agent
