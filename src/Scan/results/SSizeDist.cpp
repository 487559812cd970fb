#include "Scan/results/SSizeDist.h"

namespace agent {

namespace {

using Histogram = std::array<int64_t, SizeRanges::BUCKETS>;

/// Reads the first number alone: the format's own reader has always been that way.
struct FirstNumberFormat : UsualFormat<Histogram> {
  static void read(Histogram& value, std::string_view cell) { value[0] = toInt64(cell); }
};

}  // namespace

const RecordTable<SSizeDist>& SSizeDist::table() {
  static constexpr Column<SSizeDist> COLUMNS[] = {
      column<&SSizeDist::szdFilesystemID>(ScanVOXTags::SZD_FS_ID, "the file system"),
      column<&SSizeDist::szdStatisticID>(ScanVOXTags::SZD_STAT_ID, "the statistic"),
      column<&SSizeDist::szdSizes, FirstNumberFormat>(
          ScanVOXTags::SZD_SIZES,
          "space in units of 512 bytes of entries up to 1 KiB, 10 KiB, 100 KiB, "
          "1 MiB, 10 MiB, 100 MiB, 500 MiB, and larger"),
      column<&SSizeDist::szdCounts, FirstNumberFormat>(ScanVOXTags::SZD_COUNTS, "how many those are")};
  static constexpr RecordTable<SSizeDist> TABLE(ScanVOXTags::SZD, "Entries by size.", COLUMNS);
  return TABLE;
}

void SSizeDist::inititializeObject(const HeaderRow& refHeaderArray, const Rows& refDataArray) {
  const Row& row = theRow(refHeaderArray, refDataArray,
                          "ERROR: innerArray.size() != refHeaderArray.size(). VoxObjectCreationException "
                          "exception will be thrown.");
  szdSizes.fill(0);
  szdCounts.fill(0);
  table().read(*this, refHeaderArray, row);
}

void SSizeDist::printHeader(GenericPrint& print) {
  table().printHeader(print);
}

void SSizeDist::printData(GenericPrint& print) const {
  table().printNode(print, *this);
}

}  // namespace agent
