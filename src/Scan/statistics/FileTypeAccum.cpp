#include "Scan/statistics/FileTypeAccum.h"

#include <endian.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "Scan/results/Counters.h"
#include "Scan/results/CuStatResults.h"
#include "Scan/results/FileType.h"
#include "Scan/statistics/NMost.h"
#include "Scan/walk/FileAttributes.h"

namespace agent {

namespace {

constexpr size_t MOST_CHARACTERS_BEHIND_DOT = 6;
constexpr size_t BYTE_BITS = ExtensionTotals::BYTE_BITS;
constexpr uint64_t IN_EACH_BYTE = ExtensionTotals::IN_EACH_BYTE;

/// The last eight bytes of a path, the very last one lowest; zeros before a shorter path.
uint64_t lastBytes(std::string_view path) {
  std::array<char, sizeof(uint64_t)> bytes = {};
  if (path.size() >= bytes.size()) {
    std::memcpy(bytes.data(), path.data() + path.size() - bytes.size(), bytes.size());
  } else {
    std::copy(path.begin(), path.end(), bytes.end() - path.size());
  }
  return be64toh(std::bit_cast<uint64_t>(bytes));
}

/// The top bit of each byte that is the character, and perhaps of bytes above the lowest such.
uint64_t bytesThatAre(char character, uint64_t bytes) {
  const uint64_t zeros = bytes ^ (static_cast<unsigned char>(character) * IN_EACH_BYTE);
  return (zeros - IN_EACH_BYTE) & ~zeros & (0x80 * IN_EACH_BYTE);
}

/// Bytes of the extension, with its dot; 0 where there is none. Looks at all that may end it at once: a loop
/// over characters costs a wrong guess of the processor for each path.
size_t extensionLength(uint64_t lastBytes, size_t pathLength) {
  const uint64_t dots = bytesThatAre('.', lastBytes);
  const uint64_t ends =
      dots | bytesThatAre('/', lastBytes) | bytesThatAre('\\', lastBytes) | bytesThatAre(' ', lastBytes);
  const auto behind = static_cast<size_t>(std::countr_zero(ends)) / BYTE_BITS;
  if (behind == 0 || behind > MOST_CHARACTERS_BEHIND_DOT || behind + 1 >= pathLength) return 0;
  return (dots & (ends ^ (ends - 1))) != 0 ? behind + 1 : 0;
}

}  // namespace

std::string_view extractExtensionName(std::string_view path) {
  return path.substr(path.size() - extensionLength(lastBytes(path), path.size()));
}

void FileTypeAccum::accumulate(Scanner& /*scanner*/, FileAttributes& attributes) {
  if (attributes.faType != FileAttributes::REGULAR_FILE) return;
  const uint64_t bytes = lastBytes(attributes.faName);
  const size_t length = extensionLength(bytes, attributes.faName.size());
  if (length == 0) return;
  ExtensionTotals::Total& total = totals_.of(bytes << (BYTE_BITS * (sizeof bytes - length)));
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
