#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>

#include "Common/SeededHash.h"
#include "Scan/results/FileTypeSummary.h"
#include "Scan/statistics/Accumulator.h"

namespace agent {

/// Finds a path's extension: from the end, at most six characters behind the dot, none where a blank, a slash
/// or a backslash comes first or where the dot is the last character. The first character is never looked at.
/// @return the extension with its dot; empty when there is none
std::string_view extractExtensionName(std::string_view path);

/// The N extensions whose regular files take the most space.
class FileTypeAccum : public Accumulator {
 public:
  /// @param proID the statistic's id
  /// @param ftNumber N
  FileTypeAccum(int32_t proID, int32_t ftNumber)
      : Accumulator("FileTypeAccum"), proID_(proID), ftNumber_(ftNumber) {}

  void accumulate(Scanner& scanner, FileAttributes& attributes) override;
  void finish(CuStatResults& results) override;

 private:
  // An extension has at most seven bytes, so it is its own key: packed from the top byte down, its order as a
  // number is the order of its bytes, and looking one up needs no string.
  using ExtensionKey = uint64_t;
  static ExtensionKey lowerCaseKey(std::string_view extension);

  int32_t proID_;
  int32_t ftNumber_;
  std::unordered_map<ExtensionKey, FileTypeSummary, SeededHash> summaries_;
};

}  // namespace agent
