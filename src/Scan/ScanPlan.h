#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "Scan/selection/SelectTree.h"

namespace agent {

class CuStatDef;
class Filesystem;
class MonDirSpec;
class ResultsByFS;

/// One compiled selection of one statistic.
struct StatisticTree {
  SelectTree root;
  CuStatDef* definition;
};

/// A statistic that collects on a file system or, where `results` is null, on monitored directories.
struct Assoc {
  StatisticTree* tree;
  ResultsByFS* results;
};

/// One monitored directory on one file system.
struct MonDirSelection {
  int32_t level = 0;  ///< how much deeper than the mount point
  const MonDirSpec* spec = nullptr;
  const selectNode* root =
      nullptr;                ///< matches the directory's own entry; null when its path doesn't compile
  std::vector<Assoc> assocs;  ///< of the first selection of a level only: all of the level share them
  MonDirSelection* first = nullptr;
};

/// One file system that is to be walked.
struct FSRef {
  Filesystem* filesystem = nullptr;
  std::string localPath;                                     ///< where this host has mounted it
  std::vector<std::unique_ptr<MonDirSelection>> selections;  ///< in the order in which they were made
  std::vector<Assoc> assocs;                                 ///< likewise
  ResultsByFS* ownResults = nullptr;                         ///< of the file system's own statistic
};

/// What a scan will do: the file systems that are walked, and the statistics and monitored directories that
/// apply to each. The steps before the walks fill it, one after the other:
///
///   findFilesystems            fsRefs, fsRefsById
///   attachStatistics           trees, each FSRef's assocs and ownResults, withoutFilesystem
///   attachDirectories          each FSRef's selections, directoryRoots
///   attachDirectoryStatistics  trees, the selections' assocs, directoryStatistics
///
/// It owns what is compiled and borrows everything of the definition. The walks only read it.
struct ScanPlan {
  std::vector<std::unique_ptr<FSRef>> fsRefs;
  std::unordered_map<int32_t, FSRef*> fsRefsById;  ///< the first of each id
  std::vector<std::unique_ptr<StatisticTree>> trees;
  std::map<const MonDirSpec*, SelectTree> directoryRoots;  ///< one a spec, whatever file systems it is on
  std::vector<const CuStatDef*> directoryStatistics;       ///< those whose selection compiled
  std::vector<const CuStatDef*> withoutFilesystem;         ///< those that name no file system of this job
  bool givenUp = false;  ///< a file system, a statistic or a directory was; it has been logged
};

}  // namespace agent
