#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "Scan/results/SMonDir.h"
#include "Scan/statistics/CuStatAccum.h"

namespace agent {

class CuStatDef;
class Filesystem;
class MonDirSpec;

/// The monitored directories that a scan has met. Owns them: results point at them until they are written.
class MonDirTable {
 public:
  /// A directory that a walk is about to enter.
  SMonDir& add(Filesystem& filesystem);
  /// Its subtree has been walked.
  void complete(SMonDir& directory);
  /// It is not entered after all.
  void drop(SMonDir& directory);

  /// Directories in the order in which their walks were completed.
  const std::vector<SMonDir*>& completed() const { return completed_; }

 private:
  std::vector<std::unique_ptr<SMonDir>> directories_;
  std::vector<SMonDir*> completed_;
};

/// A directory statistic on one file system. Inactive until an Activator fires for a directory; then it
/// collects until the walk leaves that directory, and its results go to the definition.
///
///   inactive --activate--> waiting --directoryEntered--> collecting --directoryLeft of the same--> inactive
///                          waiting --directoryPassedOver--> inactive
class MonDirAccum : public CuStatAccum {
 public:
  MonDirAccum(CuStatDef& definition, Filesystem& filesystem);

  /// Starts to collect for `directory`, from the next directory that is entered.
  void activate(SMonDir& directory);

  void actUpon(Scanner& scanner, FileAttributes& attributes) override;
  void directoryEntered(FileAttributes& attributes) override;
  void directoryLeft() override;
  void directoryPassedOver() override;

  bool isWaiting() const { return directory_ != nullptr && level() == OUTSIDE; }

 private:
  friend class MonDirChain;

  Filesystem& filesystem_;
  CuStatDef& definition_;
  SMonDir* directory_ = nullptr;  // the one being filled; null while inactive
};

/// The accumulators of one level of a file system: whatever directory at this level is met, these collect for
/// it, one directory after the other. Comes into the walker's row behind its accumulators, so that it hears
/// last that a directory is left.
class MonDirChain : public FileAction {
 public:
  MonDirChain(MonDirTable& table, Filesystem& filesystem);

  void append(MonDirAccum& accumulator) { targets_.push_back(&accumulator); }

  /// An activator of the chain has fired for the entry that the walk stands on. Nested in a directory that is
  /// being collected, its spec only joins that one's.
  void fire(const MonDirSpec& spec);

  void actUpon(Scanner& /*scanner*/, FileAttributes& /*attributes*/) override {}
  void directoryEntered(FileAttributes& /*attributes*/) override {}
  void directoryLeft() override;
  void directoryPassedOver() override;

 private:
  bool isActive() const;

  MonDirTable& table_;
  Filesystem& filesystem_;
  std::vector<MonDirAccum*> targets_;  // borrowed from the walker's row
  SMonDir* directory_ = nullptr;       // the one being collected for
};

/// Watches for one monitored directory: its selection matches the directory's own entry.
class Activator : public FileAction {
 public:
  Activator(MonDirChain& targets, const MonDirSpec& spec)
      : FileAction("Activator"), targets_(targets), spec_(spec) {}

  void actUpon(Scanner& scanner, FileAttributes& attributes) override;
  void directoryEntered(FileAttributes& /*attributes*/) override {}
  void directoryLeft() override {}
  bool testsDirectoryItself() const override { return true; }

 private:
  MonDirChain& targets_;
  const MonDirSpec& spec_;
};

}  // namespace agent
