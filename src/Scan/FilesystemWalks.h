#pragma once

#include <memory>
#include <span>
#include <vector>

#include "Scan/ScanPlan.h"
#include "Scan/ahead/ReadingPlan.h"
#include "Scan/identity/UberTable.h"
#include "Scan/selection/Selection.h"
#include "Scan/statistics/CuStatDef.h"
#include "Scan/statistics/MonDirAccum.h"
#include "Scan/unix/UnixUserTable.h"

namespace agent {

class GenericPrint;

/// The actions that one walk offers its entries to, each with the selection that decides for it.
class ActionRow {
 public:
  /// Takes an action over, behind all others. A null selection never matches.
  template <typename Action>
  Action& add(std::unique_ptr<Action> action, const selectNode* selection) {
    Action& added = *action;
    owned_.push_back(std::move(action));
    borrow(added, selection);
    return added;
  }
  void borrow(FileAction& action, const selectNode* selection) {
    actions_.push_back(&action);
    selections_.push_back(selection);
  }

  const std::vector<FileAction*>& actions() const { return actions_; }
  const std::vector<const selectNode*>& selections() const { return selections_; }

  void releaseFileActionVector();

 private:
  std::vector<std::unique_ptr<FileAction>> owned_;
  std::vector<FileAction*> actions_;
  std::vector<const selectNode*> selections_;
};

/// Walks the file systems of a plan, one after the other, and writes each one's results as soon as its walk
/// has ended: memory doesn't grow with their number. Owners and monitored directories that were met live
/// until the last result is written, with this object.
class FilesystemWalks {
 public:
  /// @param plan complete; a walk that has lost something marks it
  /// @param observer offered every entry of every walk, whatever the statistics select; null: none
  /// @param nfsTimeout limit of a file system's calls in seconds; 0 or less means none
  FilesystemWalks(ScanPlan& plan, GenericPrint& print, FileAction* observer, int nfsTimeout);

  /// All walks.
  /// @param statistics loses those that had results for a file system only whose walk failed
  /// @throws ScanAbortException when the job was told to stop
  /// @throws VOXIOException when results can't be written
  void run(StatisticList& statistics);

 private:
  int walk(const FSRef& fsRef);
  void addDirectoryActions(const FSRef& fsRef);
  void addStatistics(const FSRef& fsRef);
  void addObserver();
  void reportFailedLookups();

  ScanPlan& plan_;
  GenericPrint& print_;
  FileAction* observer_;
  SelectTree everything_;  // the observer's selection
  const int nfsTimeout_;   // seconds for each call of a walk; 0 or less: any
  const size_t processors_ = usableProcessors();
  UberTable owners_;
  UnixUserTable userTable_{owners_};
  MonDirTable monDirs_;
  ActionRow row_;  // of the walk that is going on
};

}  // namespace agent
