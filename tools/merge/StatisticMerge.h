#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "figures/ResultFile.h"

namespace agent::tools {

/// What a result says of one file system.
struct Section {
  const std::string* file = nullptr;  ///< the result's name
  size_t place = 0;                   ///< of the result among those that are joined
  ResultNode filesystem;
  std::string mountPoint;  ///< with its slash
  const Section* holder =
      nullptr;  ///< out of which it was taken, the nearest above it; null: it is the whole
  std::vector<ResultNode> monitored;
  std::vector<ResultNode> statistics;

  /// The mount point without its slash.
  std::string directory() const { return mountPoint.substr(0, mountPoint.size() - 1); }
};

/// Puts nodes behind others.
void append(std::vector<ResultNode>& to, std::vector<ResultNode> nodes);

/// The directory of a slice is an entry like others in a single walk, which writes no slash behind it.
/// @param whole mount point of the file system
void stripSlash(ResultNode& entry, const std::string& whole);

/// Joins what one statistic has found on the parts of one file system.
class StatisticMerge {
 public:
  /// @param sections of the file system, the one that the others were taken out of in front
  StatisticMerge(const std::vector<Section*>& sections, const ResultNode& definition,
                 std::vector<std::string>& notes);

  /// @param parts one of each section, in their order
  ResultNode merged(const std::vector<const ResultNode*>& parts);

 private:
  /// A directory in which those of slices lie.
  struct AboveSlices {
    const Section* holder = nullptr;        // that it is walked in
    std::vector<const ResultNode*> slices;  // totals of each of those directories alone
  };

  size_t wanted(const char* column) const;
  static std::vector<const ResultNode*> gathered(const std::vector<const ResultNode*>& parts,
                                                 const char* tag);
  std::vector<const ResultNode*> partsAsNamed() const;
  std::vector<ResultNode> directories() const;
  std::map<std::string, AboveSlices> aboveSlices() const;
  const ResultNode* parentsIn(const Section& holder) const;
  std::optional<ResultNode> recordOf(const std::string& name, const AboveSlices& above) const;
  int64_t mostOf(const AboveSlices& above) const;
  std::vector<ResultNode> files() const;
  std::vector<ResultNode> types() const;
  std::vector<const ResultNode*> allTypes() const;
  std::vector<ResultNode> owners() const;
  std::vector<ResultNode> ages() const;
  std::optional<ResultNode> joined(const char* tag) const;
  void note(const std::string& sentence) const;

  const std::vector<Section*>& sections_;
  const ResultNode& definition_;
  const std::string id_;
  std::vector<std::string>& notes_;
  std::vector<const ResultNode*> parts_;
};

}  // namespace agent::tools
