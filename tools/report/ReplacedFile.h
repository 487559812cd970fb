#pragma once

#include <string>

#include "QLMlib/common/unx/OwnedDescriptor.h"

namespace agent::tools {

/// Who may read a file that is written.
enum class Readers {
  AS_USUAL,   ///< those whom the process's umask lets
  EVERYBODY,  ///< another program may be another user
};

/// A file that nobody looks for, beside one whose name it is to get. It goes with its owner unless it has
/// been renamed.
class NewFile {
 public:
  /// @param path of no file yet or of a regular one: a device or a link isn't replaced
  /// @throws std::runtime_error with the system's reason
  explicit NewFile(const std::string& path);
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  /// Of the hidden file, for those who write by name.
  const std::string& name() const { return name_; }

  /// Appends to it.
  /// @throws std::runtime_error with the system's reason
  void write(const std::string& content);
  /// Gives it its name.
  /// @throws std::runtime_error with the system's reason
  void rename(Readers readers);

 private:
  const std::string path_;
  std::string name_;  // empty once there is nothing to remove
  OwnedDescriptor descriptor_;
};

/// Writes a file beside the one of this path and renames it, so that nobody reads a half, and what stood
/// there stays where that fails.
/// @param path of no file yet or of a regular one: a device or a link isn't replaced
/// @throws std::runtime_error with the system's reason
void replaceFile(const std::string& path, const std::string& content, Readers readers);

}  // namespace agent::tools
