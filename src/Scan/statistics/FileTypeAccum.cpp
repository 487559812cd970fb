#include "Scan/statistics/FileTypeAccum.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "Probe/Filesystem.h"
#include "Scan/results/Counters.h"
#include "Scan/results/CuStatResults.h"
#include "Scan/results/FileType.h"
#include "Scan/statistics/NMost.h"
#include "Scan/walk/Scanner.h"

namespace agent {

namespace {

constexpr size_t MOST_CHARACTERS_BEHIND_DOT = 6;

}  // namespace

std::string_view extractExtensionName(std::string_view path) {
  if (path.empty()) return {};
  const size_t last = path.size() - 1;
  for (size_t i = last; i > 0; --i) {
    const char c = path[i];
    if (c == '.') return i == last ? std::string_view{} : path.substr(i);
    if (c == '/' || c == '\\' || c == ' ' || last - i >= MOST_CHARACTERS_BEHIND_DOT) return {};
  }
  return {};
}

FileTypeAccum::ExtensionKey FileTypeAccum::lowerCaseKey(std::string_view extension) {
  ExtensionKey key = 0;
  int shift = 56;
  for (const char c : extension) {
    const char lower = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    key |= static_cast<ExtensionKey>(static_cast<unsigned char>(lower)) << shift;
    shift -= 8;
  }
  return key;
}

void FileTypeAccum::accumulate(Scanner& scanner, FileAttributes& attributes) {
  if (attributes.faType != FileAttributes::REGULAR_FILE) return;
  const std::string_view extension = extractExtensionName(attributes.faName);
  if (extension.empty()) return;
  const ExtensionKey key = lowerCaseKey(extension);
  const auto [entry, isNew] = summaries_.try_emplace(key);
  FileTypeSummary& summary = entry->second;
  if (isNew) {
    std::string text;
    for (int shift = 56; shift >= 0 && ((key >> shift) & 0xFF) != 0; shift -= 8) {
      text += static_cast<char>((key >> shift) & 0xFF);
    }
    summary.profileID = proID_;
    summary.filesystemID = scanner.filesystem().fsID;
    summary.fileType = &scanner.fileTypes().find(text);
  }
  addTo(summary.fileCount, 1);
  addTo(summary.spaceUsed, attributes.faBlocks);
}

void FileTypeAccum::finish(CuStatResults& results) {
  std::vector<std::pair<ExtensionKey, FileTypeSummary>> byExtension(summaries_.begin(), summaries_.end());
  summaries_.clear();
  // In ascending order of extension, so that of two tying for the last place the smaller one stays.
  std::sort(byExtension.begin(), byExtension.end(),
            [](const auto& a, const auto& b) { return a.first < b.first; });
  NMost<FileTypeSummary> most(ftNumber_);
  for (const auto& [key, summary] : byExtension) {
    if (most.mustAdd(summary.spaceUsed)) most.add(summary);
  }
  results.srFileTypes = most.takeDescending();
}

}  // namespace agent
