#include "ScandefPatterns.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "Scan/selection/PatternMatcher.h"
#include "Scan/selection/pathmatch.h"

namespace agent::scandef {

namespace {

constexpr const char* ANY_DEPTH = "%";  // as a whole component

bool isSlash(char c) {
  return c == '/' || c == '\\';
}

/// Behind the byte, escape or set that begins at `begin`.
size_t endOfPiece(std::string_view pattern, size_t begin) {
  const auto behindByte = [pattern](size_t place) {
    return place + (pattern.substr(place, 1) == "&" ? 2 : 1);
  };
  if (pattern[begin] != '[') return std::min(behindByte(begin), pattern.size());
  size_t place = begin + 1;
  if (pattern.substr(place, 1) == "!" || pattern.substr(place, 1) == "^") ++place;
  // What stands first is a member, also a "]".
  do place = behindByte(place);
  while (place < pattern.size() && pattern[place] != ']');
  return std::min(place + 1, pattern.size());
}

/// What stands between a pattern's slashes; one at either end separates nothing.
std::vector<std::string> componentsOf(std::string_view pattern) {
  std::vector<std::string> components{""};
  for (size_t begin = 0, end = 0; begin < pattern.size(); begin = end) {
    end = endOfPiece(pattern, begin);
    const std::string_view piece = pattern.substr(begin, end - begin);
    if (isSlash(piece.back()) && (piece.size() == 1 || piece.front() == '&')) {
      components.emplace_back();
    } else {
      components.back() += piece;
    }
  }
  if (components.size() > 1 && components.front().empty()) components.erase(components.begin());
  if (components.back().empty()) components.pop_back();
  return components;
}

bool matches(const std::string& component, const std::string& name) {
  int32_t anchor = ANCHOR_RELATIVE;
  std::string words;
  const auto matcher = PatternMatcher::compile(pathmatch(component).translate(anchor), words);
  return matcher != nullptr && matcher->matches(name.c_str());
}

/// The names along a path, which is no pattern.
std::vector<std::string> namesOf(std::string_view path) {
  std::vector<std::string> names;
  while (!path.empty()) {
    const std::string_view name = path.substr(0, path.find('/'));
    if (!name.empty()) names.emplace_back(name);
    path.remove_prefix(std::min(name.size() + 1, path.size()));
  }
  return names;
}

}  // namespace

std::string whyNothingMatches(const std::string& pattern) {
  const std::vector<std::string> components = componentsOf(pattern);
  const size_t count = components.size();
  for (const std::string& component : components) {
    if (component.empty()) return "nothing matches two slashes in a row: write one";
    if (component == "." || component == "..") return "paths don't hold \"" + component + "\": leave it out";
  }
  if (count > 1 && components[count - 1] == ANY_DEPTH && components[count - 2] == ANY_DEPTH) {
    return "nothing matches \"%/%\" at the end: write \"%\" once";
  }
  return {};
}

bool isAbsolute(const std::string& pattern) {
  int32_t anchor = ANCHOR_ABSOLUTE;
  return !pathmatch(pattern).translate(anchor).empty() && anchor == ANCHOR_ABSOLUTE;
}

std::string absolutePattern(const std::string& pattern, const std::string& mountPoint) {
  if (isAbsolute(pattern)) return pattern;
  // One that floats may have a slash in front, too.
  return patternOf(mountPoint) + (!pattern.empty() && isSlash(pattern.front()) ? "" : "/") + pattern;
}

std::string patternOf(std::string_view path) {
  std::string pattern;
  for (const char byte : path) {
    if (std::string_view("&*?[%").find(byte) != std::string_view::npos) pattern += '&';
    pattern += byte;
  }
  return pattern;
}

bool isOneComponent(const std::string& pattern) {
  return !pattern.empty() && !isSlash(pattern.front()) && componentsOf(pattern).size() == 1;
}

size_t shortestMatch(const std::string& pattern) {
  size_t length = 0;
  for (size_t place = 0; place < pattern.size(); place = endOfPiece(pattern, place)) {
    if (pattern[place] != '*') ++length;
  }
  return length;
}

Reach reachOf(const std::string& pattern, const std::string& mountPoint) {
  if (!mountPoint.starts_with('/')) return Reach::ELSEWHERE;
  const std::vector<std::string> components = componentsOf(pattern);
  const std::vector<std::string> names = namesOf(mountPoint);
  for (size_t depth = 0; depth < names.size(); ++depth) {
    if (depth == components.size()) return Reach::ELSEWHERE;
    if (components[depth] == ANY_DEPTH) return Reach::BELOW;
    if (!matches(components[depth], names[depth])) return Reach::ELSEWHERE;
  }
  return components.size() > names.size() ? Reach::BELOW : Reach::ITSELF;
}

// The job compares the beginning of the path with the mount point, byte by byte, before it takes the whole
// for a pattern; a mask for the mount point itself is compared up to its last slash.
Monitoring monitoringOf(const std::string& path, const std::string& mountPoint) {
  std::string directory = path;
  std::replace(directory.begin(), directory.end(), '\\', '/');
  const std::string mount = mountPoint.substr(0, mountPoint.find_last_not_of('/') + 1);
  const Reach reach = reachOf(path, mountPoint);
  if (directory == mount || directory.starts_with(mount + "/")) {
    return reach == Reach::ELSEWHERE ? Monitoring::MISREAD : Monitoring::FOUND;
  }
  const size_t parent = mount.rfind('/') + 1;
  const bool isMask = directory.find_first_of("*?[", parent) != std::string::npos;
  const bool fires = reach == Reach::ITSELF && isMask && directory.starts_with(mount.substr(0, parent));
  return fires ? Monitoring::FOUND : Monitoring::ELSEWHERE;
}

}  // namespace agent::scandef
