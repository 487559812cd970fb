#include "Scan/statistics/FileTypeAccum.h"

#include <cstddef>
#include <utility>

#include "Scan/results/Counters.h"
#include "Scan/results/CuStatResults.h"
#include "Scan/results/FileType.h"
#include "Scan/statistics/NMost.h"
#include "Scan/walk/FileAttributes.h"

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

void FileTypeAccum::accumulate(Scanner& /*scanner*/, FileAttributes& attributes) {
  if (attributes.faType != FileAttributes::REGULAR_FILE) return;
  const std::string_view extension = extractExtensionName(attributes.faName);
  if (extension.empty()) return;
  ExtensionTotals::Total& total = totals_.of(extension);
  addTo(total.files, 1);
  addTo(total.space, attributes.faBlocks);
}

void FileTypeAccum::finish(CuStatResults& results) {
  NMost<FileTypeSummary> most(ftNumber_);
  // In ascending order of extension, so that of two tying for the last place the smaller one stays.
  for (const ExtensionTotals::Total& total : totals_.takeSorted()) {
    if (!most.mustAdd(total.space)) continue;
    FileTypeSummary summary(FileType(ExtensionTotals::text(total.key)));
    summary.profileID = proID_;
    summary.filesystemID = filesystemID_;
    summary.fileCount = total.files;
    summary.spaceUsed = total.space;
    most.add(std::move(summary));
  }
  results.srFileTypes = most.takeDescending();
}

}  // namespace agent
