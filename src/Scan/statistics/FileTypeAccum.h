#pragma once

#include <cstdint>
#include <string_view>

#include "Scan/statistics/Accumulator.h"
#include "Scan/statistics/ExtensionTotals.h"

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
  FileTypeAccum(int32_t proID, int32_t filesystemID, int32_t ftNumber)
      : Accumulator("FileTypeAccum"), proID_(proID), filesystemID_(filesystemID), ftNumber_(ftNumber) {}

  void accumulate(Scanner& scanner, FileAttributes& attributes) override;
  void finish(CuStatResults& results) override;

 private:
  int32_t proID_;
  int32_t filesystemID_;
  int32_t ftNumber_;
  ExtensionTotals totals_;
};

}  // namespace agent
