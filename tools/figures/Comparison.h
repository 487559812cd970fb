#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "figures/Figures.h"

// What grew and what shrank between two results. Space is in units of 512 bytes, as in Figures.

namespace agent::tools {

/// One thing in both results: an owner, a directory, a class of sizes.
struct Change {
  std::string name;               ///< bytes
  std::optional<int64_t> before;  ///< none where the old result doesn't tell: its list has no room for it
  std::optional<int64_t> after;   ///< the same of the new one
  int64_t filesBefore = 0;
  int64_t filesAfter = 0;

  /// How much it grew; 0 where one of the results doesn't tell.
  int64_t growth() const {
    return before && after
               ? static_cast<int64_t>(static_cast<uint64_t>(*after) - static_cast<uint64_t>(*before))
               : 0;
  }
};

/// How much something grew, for people: "+2.10 GiB".
std::string growthText(const Change& change);

/// The same as a share of what there was: "-21%"; empty where there was nothing.
std::string growthShare(const Change& change);

/// Changes of one kind, those first that changed most; what stayed as it was is left out.
struct ChangeTable {
  std::string title;
  std::vector<Change> changes;
};

/// What has changed in the sight of one statistic, on a file system or in its monitored directories.
struct StatisticChange {
  std::string name;  ///< bytes
  std::vector<ChangeTable> tables;
};

struct FilesystemChange {
  std::string mountPoint;
  Change used;  ///< its used space; before or after missing where only one result has the file system
  int64_t capacity = 0;
  int64_t timeBefore = 0;
  int64_t timeAfter = 0;
  std::vector<StatisticChange> statistics;
};

struct Comparison {
  std::vector<FilesystemChange> filesystems;  ///< those that changed most first
};

/// Pairs file systems by mount point, statistics by name, owners and groups by number, the rest by name. What
/// one of two complete lists lacks has 0 there; what a list of the N largest lacks is not known.
Comparison compare(const Figures& before, const Figures& after);

}  // namespace agent::tools
