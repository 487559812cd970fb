#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace agent::scandef {

// What path patterns can't match, so that people are told before a scan counts nothing.

/// Why no entry of any file system can match a pattern of paths; empty when one may.
std::string whyNothingMatches(const std::string& pattern);

/// Whether a pattern of paths matches as well from whichever directory a walk begins: with the whole path.
bool isAbsolute(const std::string& pattern);

/// A pattern with a whole path that matches below a mount point what `pattern` matches there.
/// @param mountPoint without a slash behind; one with a backslash in it has no pattern
std::string absolutePattern(const std::string& pattern, const std::string& mountPoint);

/// A name or a path as a pattern that stands for it alone.
/// @param path without a backslash, which is a slash to patterns
std::string patternOf(std::string_view path);

/// Whether a pattern stands for names without a slash.
bool isOneComponent(const std::string& pattern);

/// Bytes of the shortest name that a pattern of one component may match.
size_t shortestMatch(const std::string& pattern);

/// How far a pattern that begins with a slash gets along the path of a mount point.
enum class Reach {
  ELSEWHERE,  ///< it matches nothing there
  ITSELF,     ///< the mount point alone
  BELOW,      ///< something below it
};
Reach reachOf(const std::string& pattern, const std::string& mountPoint);

/// Whether the job finds a monitored directory on a file system.
enum class Monitoring {
  FOUND,
  ELSEWHERE,  ///< it lies somewhere else
  MISREAD,    ///< the job takes the mount point's name for a pattern that doesn't match it
};
/// @param path of the directory, or a pattern, as it stands in the definition
Monitoring monitoringOf(const std::string& path, const std::string& mountPoint);

}  // namespace agent::scandef
