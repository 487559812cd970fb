#pragma once

#include <string>

namespace agent {

// File operations. Each takes off a pair of double quotes around a path longer than two characters.

/// unlink(2). @return 0, or -1 with the reason in errno
int psRemoveFile(const std::string& path);

/// True when the path names something that stat(2) can reach, of whatever kind.
bool psFileExist(const std::string& path);

/// Makes a directory and its missing parents; the umask decides who may enter. One that exists is no failure.
/// @return 0, or -1 with the reason in errno (ENOTDIR when something else bears the name)
int psMkdir(const std::string& path);

}  // namespace agent
