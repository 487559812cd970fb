#pragma once

#include <string>

#include "definition/ScandefDefinition.h"
#include "slices/SliceChoice.h"

namespace agent::scandef {

/// Adds what the upper directories of a file system hold, as far as a few thousand of them tell: the entries
/// of each that is read, and for one that isn't what they hold on average.
/// @param weights of directories by the definition's names; what it has of one stays if it is more
void addLook(const MountPoint& filesystem, Weights& weights);

/// Why a directory can't be a slice of a definition: empty where it can. A slice is mounted by its name,
/// walked from there, and its result has to be what a single walk would have found there.
/// @param path by the definition's names
std::string whyNoSlice(const Definition& definition, const MountPoint& filesystem, const std::string& path);

/// The path by which this host has what a definition calls `path`.
std::string localPathOf(const MountPoint& filesystem, const std::string& path);

/// What stands in front of a path's last slash; "/" for what lies in the root.
std::string parentOf(const std::string& path);

/// The name that a definition has for a file system's own directory, without a slash behind; "" for "/".
std::string withoutSlash(const std::string& path);

/// A directory's path as weights have it: without a slash behind, but "/" itself.
std::string directoryPath(const std::string& path);

}  // namespace agent::scandef
