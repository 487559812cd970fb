#pragma once

#include <string>

namespace agent::tools {

/// Who may read a file that is written.
enum class Readers {
  AS_USUAL,   ///< those whom the process's umask lets
  EVERYBODY,  ///< another program may be another user
};

/// Writes a file beside the one of this path and renames it, so that nobody reads a half, and what stood
/// there stays where that fails.
/// @param path of no file yet or of a regular one: a device or a link isn't replaced
/// @throws std::runtime_error with the system's reason
void replaceFile(const std::string& path, const std::string& content, Readers readers);

}  // namespace agent::tools
