#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Scan/selection/fileInfo.h"
#include "Scan/walk/DirectoryReader.h"
#include "Scan/walk/FileAttributes.h"
#include "Scan/walk/WalkRules.h"

namespace agent {

class FileAction;
class Filesystem;
class UserTable;
struct selectNode;

/// Walks one file system from its root, depth first, in the order in which the system lists each directory.
/// For each entry it evaluates every selection once and hands the entry to the actions whose selection
/// matched. Computes no statistic itself. Used once: made, scan() called, destroyed.
class Scanner : public WalkPosition {
 public:
  /// What a walk answers that has lost something of its tree.
  static constexpr int GIVEN_UP = 4;
  /// What a walk answers whose root could not be opened, read or stat'ed.
  static constexpr int ROOT_LOST = 8;

  /// What a walk needs; everything but the path is borrowed and must outlive the walk.
  struct Setup {
    Filesystem& filesystem;
    std::vector<FileAction*> actions;
    std::vector<const selectNode*> selections;  ///< selections[i] decides for actions[i]; null never matches
    UserTable& userTable;
    DirectoryReaderFactory& factory;
    WalkRules rules;  ///< of that file system
  };

  explicit Scanner(const Setup& setup);
  ~Scanner() override;
  Scanner(const Scanner&) = delete;
  Scanner& operator=(const Scanner&) = delete;

  /// The whole walk. Sets Filesystem::fsScanTime.
  /// @return 0 clean, GIVEN_UP something of the tree was lost, ROOT_LOST nothing could be had of it
  /// @throws ScanAbortException when the job was told to stop; no further action has been called
  int scan();

  // Reads the entry that `file.path` names and normalises its record.
  // @return false after a failure that has been logged
  virtual bool Stat(fileInfo& file, bool remote) = 0;

  // What actions read.
  Filesystem& filesystem() const { return filesystem_; }
  int32_t scanStartSeconds() const { return scanStartSeconds_; }

  // What readers use.
  const WalkRules& rules() const { return rules_; }
  const LocalPathInfo* localPath() const { return rules_.localPath(); }
  const std::string& path() const { return path_; }
  FileAttributes& attributes() { return attributes_; }
  int32_t rootDevice() const { return rootDevice_; }
  DirectoryReader* readerAt(int32_t level) const { return arrayReader_[static_cast<size_t>(level)].get(); }
  const fileInfo& currentFile() const { return file_; }
  fileInfo& currentFile() { return file_; }
  /// Something of the tree is lost in a way that the result must not hide: scan answers GIVEN_UP.
  void giveUp() { rc_ = GIVEN_UP; }
  /// The name under which this host has the entry, for messages.
  std::string localName(std::string_view path) const { return rules_.localName(path); }
  /// False for a path too long to be opened. A long logical path is logged (STA0139W), a long local one
  /// traced.
  bool ScannerInitOpen(std::string_view path) const;
  /// False for a path whose names don't fit the space of stat.
  bool ScannerInitStat(std::string_view path, fileInfo& file) const;
  /// Appends an entry's name to its directory's path, which takes up the first `directoryLength` bytes of
  /// `path`.
  static void ScannerFinishOffNextEntry(std::string& path, size_t directoryLength, std::string_view name);
  /// Completes the record of an entry that has been stat'ed and evaluates the selections on it.
  void ScannerFinishOffStat(FileAttributes& info, fileInfo& file);

  // WalkPosition
  int32_t currentLevel() const override { return level_; }
  size_t pathLengthAt(int32_t level) const override { return readerAt(level)->pathLength(); }

 private:
  // The steps of a walk.
  bool openRoot();
  bool nextGood();
  void offer();
  void advance();
  void enter();
  void leave();

  void pushReader(bool isRoot);
  void evaluateOnRoot(const fileInfo& file);
  bool isSnapshotDirectory() const;
  void reportProgress();

  int32_t rc_ = 0;
  const WalkRules rules_;
  std::string path_;  // logical path of the directory on top of the stack; the root's ends in a slash
  UserTable& userTable_;
  std::vector<FileAction*> actions_;
  DirectoryReaderFactory& factory_;
  int32_t rootDevice_ = -1;
  int32_t scanStartSeconds_ = 0;
  std::vector<std::unique_ptr<DirectoryReader>> arrayReader_;  // one for each level, grows only
  FileAttributes attributes_;  // the one record that is refilled for each entry
  fileInfo file_;              // the same entry as selections see it
  int32_t level_ = 0;          // index of the top reader; -1 ends the walk
  std::vector<const selectNode*> selections_;
  std::vector<uint32_t> matchedActions_;
  Filesystem& filesystem_;
  std::string snapshotPath_;  // of the cluster file system that keeps its own; else empty
  int64_t total_ = 1;         // entries; the root is the first
  int64_t sinceReport_ = 1;
};

/// Asks the cluster file system's snapshot tool for the directory that holds the snapshots of `mountPoint`.
/// Without the tool it is "<mount point>/.snapshots".
std::string getSnapshotDirMXFS(std::string mountPoint);

}  // namespace agent
