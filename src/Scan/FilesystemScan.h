#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "Common/Object.h"
#include "Scan/AgentScan.h"
#include "Probe/MountsMap.h"
#include "Scan/selection/Selection.h"
#include "Scan/statistics/MonDirAccum.h"

namespace agent {

class CuStatAccum;
class DirectoryCalls;
class GenericPrint;
class UnixUserTable;

/// Turns a job into walks: finds each wanted file system among the host's mounts, ties every statistic and
/// monitored directory to the file systems that they concern, walks one file system after the other, and
/// writes each one's results as soon as its walk has ended.
class FilesystemScan : public Object {
 public:
  // Codes of doScan. What a walk reports beyond them is cut to GIVEN_UP.
  static constexpr int CLEAN = 0;
  static constexpr int GIVEN_UP = 4;  ///< a file system, a statistic or a directory was

  FilesystemScan();
  ~FilesystemScan() override;

  /// Where results go; set before doScan, borrowed.
  void setGenericPrint(GenericPrint& genericPrint) { genericPrint_ = &genericPrint; }

  /// An action that is offered every entry of every walk, whatever the statistics select; borrowed.
  void setObserver(FileAction& observer) { observer_ = &observer; }

  /// The whole scan; once for each object.
  /// @param nfsTimeout limit of a file system's calls in seconds; 0 or less means none
  /// @return CLEAN or GIVEN_UP
  /// @throws ScanAbortException when the job was told to stop
  /// @throws VOXIOException when results can't be written
  int doScan(AgentScan& scanObject, int nfsTimeout);

  /// Orders file systems so that those of one domain and of one filer stand together, behind all local ones;
  /// each filer's in reverse order.
  static FilesystemList arrangeFilesystems(FilesystemList filesystems);

  /// The mount point, and the filer in parentheses where there is one.
  static std::string qualifiedFSName(const Filesystem& filesystem);

  /// Where a path's last component begins, where the path ends without a trailing slash, and how many slashes
  /// stand before that.
  struct Slashes {
    size_t first = 0;
    size_t last = 0;
    int32_t slashes = 0;
  };
  static Slashes findSlashes(const std::string& path);

  /// True when the path, behind its first slash, holds a mask: "*", "?" or "[" without "&" in front.
  static bool maskedPath(const std::string& path);

 private:
  /// One compiled selection of one statistic.
  struct Tree {
    SelectTree root;
    CuStatDef* definition;
  };
  struct Assoc {
    Tree* tree;
    ResultsByFS* results;  // null for a directory statistic
  };
  /// One monitored directory on one file system.
  struct MonDirSelection {
    int32_t level;  // how much deeper than the mount point
    const MonDirSpec* spec;
    const selectNode* root;     // matches the directory's own entry; null when its path doesn't compile
    std::vector<Assoc> assocs;  // of the first selection of a level only: all of the level share them
    MonDirSelection* first;
  };
  /// One file system that is to be walked.
  struct FSRef {
    Filesystem* filesystem;
    std::string localPath;
    std::vector<std::unique_ptr<MonDirSelection>> selections;  // in the order in which they were made
    std::vector<Assoc> assocs;                                 // likewise
    ResultsByFS* ownResults = nullptr;                         // of the file system's own statistic
  };
  struct Walk;

  void raise(int rc) { rc_ = rc > rc_ ? rc : rc_; }
  void findFilesystems(AgentScan& scanObject, int nfsTimeout);
  void attachStatistics(AgentScan& scanObject);
  bool attachStatistic(CuStatDef& definition);
  void attachRestrictedStatistic(CuStatDef& definition, Tree& tree);
  void newFSAssoc(FSRef& fsRef, Tree& tree, ResultsByFS& results);
  void prepareDirectories(AgentScan& scanObject);
  void attachDirectories(AgentScan& scanObject, FSRef& fsRef);
  void makeDirSel(FSRef& fsRef, const MonDirSpec& spec, int32_t level);
  void attachDirectoryStatistics(AgentScan& scanObject);
  bool attachDirectoryStatistic(CuStatDef& definition);
  void walkFilesystems(AgentScan& scanObject, int nfsTimeout);
  int walk(FSRef& fsRef, Walk& shared, MonDirTable& monDirs);
  void addDirectoryActions(FSRef& fsRef, MonDirTable& monDirs, Walk& shared) const;
  void reportFailedLookups(UnixUserTable& userTable);
  void updateOwnSummary(FSRef& fsRef);
  void printData(const FSRef& fsRef, std::span<SMonDir* const> monDirs);
  void removeReferencesTo(AgentScan& scanObject, const Filesystem& filesystem);

  GenericPrint* genericPrint_ = nullptr;
  FileAction* observer_ = nullptr;
  int rc_ = CLEAN;
  Selection selection_;  // the one compiler, used for all expressions
  std::vector<std::unique_ptr<FSRef>> fsRefs_;
  std::unordered_map<int32_t, FSRef*> fsRefsById_;  // the first of each id
  std::vector<std::unique_ptr<Tree>> trees_;
  std::map<const MonDirSpec*, SelectTree>
      directoryRoots_;                                 // one for each spec, whatever file systems it is on
  std::vector<const CuStatDef*> directoryStatistics_;  // those whose selection compiled
  std::vector<const CuStatDef*> withoutFilesystem_;    // those that name none of this job
};

}  // namespace agent
