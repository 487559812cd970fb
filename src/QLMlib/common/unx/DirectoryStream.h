#pragma once

#include <string>

#include <dirent.h>

namespace agent {

/// An open directory, read entry by entry and closed at the end. For the few directories that the job reads
/// for itself; a walk reads its own by DirectoryCalls.
class DirectoryStream {
 public:
  /// Opens. Where that fails the stream is empty, and errno has the reason.
  explicit DirectoryStream(const std::string& path);
  ~DirectoryStream();
  DirectoryStream(const DirectoryStream&) = delete;
  DirectoryStream& operator=(const DirectoryStream&) = delete;

  explicit operator bool() const { return directory_ != nullptr; }

  /// For calls relative to the directory.
  int descriptor() const { return dirfd(directory_); }

  /// The next entry, "." and ".." among them; it holds until the next call.
  /// @return null at the end, with errno 0, and after a failure, with its reason there
  const dirent* next();

 private:
  DIR* directory_;
};

}  // namespace agent
