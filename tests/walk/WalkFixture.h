#pragma once

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Probe/Filesystem.h"
#include "Scan/ahead/AheadDirectoryCalls.h"
#include "Scan/identity/UberTable.h"
#include "Scan/selection/Selection.h"
#include "Scan/unix/DirectoryReaderUnix.h"
#include "Scan/unix/ScannerUnix.h"
#include "Scan/unix/UnixUserTable.h"
#include "Scan/walk/FileAction.h"
#include "support/JobLog.h"
#include "support/TemporaryDirectory.h"

namespace agent::test {

/// Users 0 ("root") and 7 ("seven"); everybody else has gone.
class FewUsers : public UserDatabase {
 public:
  int findUser(uint32_t uid, std::string& name, std::string& description) override {
    description = "somebody";
    name = uid == 0 ? "root" : "seven";
    return uid == 0 || uid == 7 ? 0 : NO_ENTRY;
  }
  int findGroup(uint32_t gid, std::string& name) override {
    name = "wheel";
    return gid == 0 ? 0 : NO_ENTRY;
  }
};

/// System calls that fail for some names, or do something just before. Set up before a walk, whose threads
/// call it.
class RefusableCalls : public DirectoryCalls {
 public:
  std::map<std::string, int> refusedToOpen, refusedToStat;
  std::map<std::string, std::function<void()>> beforeOpen;
  std::atomic<ino_t> forbidden = 0;          // a directory that nobody may read
  std::atomic<int> readsBeforeFailure = -1;  // of all directories, an entry or two each; -1: none fails

  int openDirectory(int parent, const char* name) override {
    if (const auto hook = beforeOpen.find(name); hook != beforeOpen.end()) hook->second();
    if (refuse(refusedToOpen, name)) return -1;
    return DirectoryCalls::openDirectory(parent, name);
  }
  int statEntry(int directory, const char* name, struct stat& status) override {
    if (refuse(refusedToStat, name)) return -1;
    return DirectoryCalls::statEntry(directory, name, status);
  }
  ssize_t readEntries(int directory, void* buffer, size_t size) override {
    struct stat status;
    EXPECT_TRUE(fstat(directory, &status) == 0 && status.st_ino != forbidden);
    if (readsBeforeFailure < 0) return DirectoryCalls::readEntries(directory, buffer, size);
    if (readsBeforeFailure-- > 0) return DirectoryCalls::readEntries(directory, buffer, 48);
    errno = EIO;
    return -1;
  }

 private:
  static bool refuse(const std::map<std::string, int>& refused, const std::string& name) {
    const auto found = refused.find(name);
    if (found == refused.end()) return false;
    errno = found->second;
    return true;
  }
};

/// Writes down what the walk offers, as paths below the root: "a" acted upon, "+a" entered, "-" left,
/// "!" passed over.
class RecordingAction : public FileAction {
 public:
  explicit RecordingAction(size_t rootLength) : FileAction("RecordingAction"), rootLength_(rootLength) {}

  void actUpon(Scanner&, FileAttributes& attributes) override {
    visited.push_back(below(attributes));
    events.push_back(below(attributes));
  }
  void directoryEntered(FileAttributes& attributes) override { events.push_back("+" + below(attributes)); }
  void directoryLeft() override { events.emplace_back("-"); }
  void directoryPassedOver() override { events.emplace_back("!"); }

  std::vector<std::string> visited;  // without the root
  std::vector<std::string> events;

 private:
  std::string below(const FileAttributes& attributes) const { return attributes.faName.substr(rootLength_); }

  size_t rootLength_;
};

/// A tree of files, walked with or without readers ahead.
class WalkFixture : public ::testing::Test {
 protected:
  WalkFixture() {
    filesystem_.fsMountPoint = tree_.path() + "/";
    action_ = std::make_unique<RecordingAction>(filesystem_.fsMountPoint.size());
    Selection selection;
    selection.setExpression("");
    selection.compile("everything", 0);
    everything_ = selection.takeRoot();
  }

  int walk() { return walk(tree_.path()); }
  int walk(const std::string& localPath) { return walk(localPath, *action_); }
  int walk(const std::string& localPath, FileAction& action) {
    const WalkRules rules(filesystem_, localPath);
    const std::unique_ptr<DirectoryCalls> ahead = readers_ == 0 ? nullptr : readAhead(rules);
    DirectoryCalls& calls = ahead ? *ahead : *calls_;
    DirectoryReaderFactoryUnix factory(calls);
    ScannerUnix scanner({.filesystem = filesystem_,
                         .actions = {&action},
                         .selections = {everything_.get()},
                         .userTable = users_,
                         .factory = factory,
                         .rules = rules},
                        calls);
    return scanner.scan();
  }
  std::unique_ptr<DirectoryCalls> readAhead(const WalkRules& rules) const {
    return std::make_unique<AheadDirectoryCalls>(
        std::make_unique<ReadAhead>(ReadAhead::Setup{.calls = calls_,
                                                     .rules = rules,
                                                     .workers = readers_,
                                                     .walkHelps = walkHelps_,
                                                     .isSlow = isSlow_,
                                                     .limit = limit_,
                                                     .descriptors = descriptors_,
                                                     .bytes = bytes_}));
  }
  /// What was acted upon, without the root, sorted.
  std::vector<std::string> visited() const {
    std::vector<std::string> names = action_->visited;
    std::erase(names, "");
    std::sort(names.begin(), names.end());
    return names;
  }
  void directory(const std::string& name) { std::filesystem::create_directories(tree_ / name); }

  TemporaryDirectory tree_;
  JobLog log_;
  Filesystem filesystem_;
  std::shared_ptr<RefusableCalls> calls_ = std::make_shared<RefusableCalls>();
  size_t readers_ = 0;
  bool walkHelps_ = true;
  bool isSlow_ = false;
  std::chrono::seconds limit_{0};
  size_t descriptors_ = 64;
  size_t bytes_ = size_t{4} * 1024 * 1024;
  UberTable owners_;
  UnixUserTable users_{owners_, std::make_unique<FewUsers>()};
  SelectTree everything_;
  std::unique_ptr<RecordingAction> action_;
};

}  // namespace agent::test
