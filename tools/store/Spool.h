#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "QLMlib/common/unx/OwnedDescriptor.h"

namespace agent::tools {

/// What is wrong with a spool; what() says what couldn't be done, and the system's reason.
class SpoolError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A result that waits.
struct SpooledResult {
  std::string host;  ///< that has been scanned
  std::string file;  ///< the result, under the name that it had
  std::string directory;
};

/// A directory in which results wait for a server, whichever the file that they come from becomes: a job that
/// runs again may replace that. Each stands in a directory of its own, named by time and checksum, with its
/// host in a file "host" beside it; the directory gets its name when both are on the disk. Nobody but their
/// owner reads them.
class Spool {
 public:
  /// Opens a spool, or makes it, for this user alone.
  /// @throws SpoolError
  explicit Spool(std::string directory);

  /// Puts a copy of a result behind those that wait. One with this content is put there once.
  /// @param file its path; its name stays
  /// @param checksum of its content
  /// @throws SpoolError where it can't be made to last; nothing of it is left
  void put(const std::string& file, const std::string& host, const std::string& checksum) const;

  /// Gives what waits to `send`, the oldest first, and takes away what that returns true for. When another
  /// process is at it already, nothing is done.
  /// @param send true: the result needs to wait no longer
  /// @throws SpoolError, or what `send` throws, which ends it
  void sendAll(const std::function<bool(const SpooledResult&)>& send) const;

  /// Takes a result out of those that wait, and keeps it beside them for people to look at.
  /// @return where it is now
  std::string setAside(const SpooledResult& result) const;

  /// How many wait.
  size_t size() const;

 private:
  std::vector<SpooledResult> waiting() const;

  const std::string directory_;
};

}  // namespace agent::tools
