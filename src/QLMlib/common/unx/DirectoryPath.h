#pragma once

#include <string>

namespace agent {

/// Creates `directory` and the missing directories above it, one by one, with mode 0755 less the umask.
/// A directory that is there already is no failure.
/// @return 0 or errno
int makeDirectoryPath(const std::string& directory);

}  // namespace agent
