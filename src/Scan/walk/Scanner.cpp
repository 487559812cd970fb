#include "Scan/walk/Scanner.h"

#include <ctime>
#include <memory>
#include <utility>

#include "Common/JobMessages.h"
#include "Common/LogManager.h"
#include "Probe/Filesystem.h"
#include "QLMlib/common/ut/Trace.h"
#include "Scan/identity/UserOrGroup.h"
#include "Scan/identity/UserTable.h"
#include "Scan/selection/Selection.h"
#include "Scan/walk/FileAction.h"

namespace agent {

namespace {

constexpr int64_t ENTRIES_BETWEEN_REPORTS = 99'999;

}  // namespace

Scanner::Scanner(const Setup& setup)
    : rules_(setup.rules),
      path_(rules_.rootPath()),
      userTable_(setup.userTable),
      actions_(setup.actions),
      factory_(setup.factory),
      selections_(setup.selections),
      filesystem_(setup.filesystem) {
  matchedActions_.reserve(selections_.size());
  attributes_.faName.reserve(WalkRules::NAME_BUFFER);
}

Scanner::~Scanner() = default;

int Scanner::scan() {
  TRACE_SCOPE("Scanner::scan()");
  const time_t now = time(nullptr);
  filesystem_.fsScanTime = static_cast<int64_t>(now) * 1000;
  scanStartSeconds_ = static_cast<int32_t>(now);

  if (!openRoot()) return ROOT_LOST;
  offer();
  enter();
  while (level_ >= 0) {
    while (nextGood()) {
      if (isSnapshotDirectory()) continue;
      offer();
      if (attributes_.faType == FileAttributes::DIRECTORY) advance();
      reportProgress();
    }
    leave();
  }
  logJobMessage(messages::FILESYSTEM_WALKED, {std::to_string(total_)});
  return rc_;
}

/// Opens and reads the root, which is offered like any entry, before its content.
/// @return false when it can't be: an empty scan must never look like a clean one
bool Scanner::openRoot() {
  attributes_.faName = path_;
  pushReader(true);
  if (rules_.asksForSnapshots()) snapshotPath_ = getSnapshotDirMXFS(filesystem_.fsMountPoint);
  DirectoryReader& root = *arrayReader_.front();
  if (root.handle() == DirectoryReader::CLOSED) return false;
  rootDevice_ = root.stat(path_, attributes_, filesystem_.fsType);
  return attributes_.faType != FileAttributes::ENTRY_OTHER_DEVICE;
}

bool Scanner::nextGood() {
  return readerAt(level_)->next(filesystem_.fsType);
}

/// Hands the entry to the actions whose selection matched it.
void Scanner::offer() {
  if (attributes_.faType == FileAttributes::ENTRY_OTHER_DEVICE) return;
  for (const uint32_t index : matchedActions_) actions_[index]->actUpon(*this, attributes_);
}

/// Goes down into the directory that `attributes_` describes, if there is room below.
void Scanner::advance() {
  if (!WalkRules::hasRoomBelow(level_)) {
    TRACE(TR_MAX, "Scanner::advance() : level >= (MAX_COMPONENTS - 1): MAX_COMPONENTS = %d.\n",
          WalkRules::MAX_COMPONENTS);
    logJobMessage(messages::TOO_DEEP, {attributes_.faName});
    for (FileAction* action : actions_) action->directoryPassedOver();
    return;
  }
  path_.assign(attributes_.faName);
  ++level_;
  pushReader(false);
  enter();
}

void Scanner::enter() {
  for (FileAction* action : actions_) action->directoryEntered(attributes_);
}

void Scanner::leave() {
  for (FileAction* action : actions_) action->directoryLeft();
  --level_;
  if (level_ >= 0) path_.resize(readerAt(level_)->pathLength());
}

void Scanner::pushReader(bool isRoot) {
  std::unique_ptr<DirectoryReader> reader = factory_.newDirectoryReader(*this, isRoot);
  const auto index = static_cast<size_t>(level_);
  if (arrayReader_.size() > index) {
    arrayReader_[index] = std::move(reader);
  } else {
    arrayReader_.push_back(std::move(reader));
  }
}

/// Whether the entry is the file system's own copy of itself, directly below the root.
bool Scanner::isSnapshotDirectory() const {
  if (level_ > 0 || attributes_.faType != FileAttributes::DIRECTORY) return false;
  const bool isCopy = (rules_.asksForSnapshots() && attributes_.faName == snapshotPath_) ||
                      WalkRules::isSnapshot(attributes_.faName);
  if (isCopy) {
    TRACE(TR_MID, "Scanner::scan() : Skipping the snapshot directory %s\n", attributes_.faName.c_str());
  }
  return isCopy;
}

void Scanner::reportProgress() {
  ++total_;
  if (++sinceReport_ <= ENTRIES_BETWEEN_REPORTS) return;
  logJobMessage(messages::ENTRIES_SO_FAR, {std::to_string(total_)});
  sinceReport_ = 0;
}

bool Scanner::ScannerInitOpen(std::string_view path) const {
  if (rules_.fitsOpen(path.size())) return true;
  if (const LocalPathInfo* local = localPath(); local != nullptr) {
    TRACE(TR_MIN, "path is too long ... throwing Exception with STA0139W for %s\n",
          local->localName(path).substr(0, WalkRules::MAX_OPEN_PATH).c_str());
    return false;
  }
  const std::string cut(path.substr(0, WalkRules::MAX_OPEN_PATH));
  TRACE(TR_MIN,
        "Scanner::ScannerInitOpen() : ERROR: Logging problem with STA0139W ... Path %s is too long.\n",
        cut.c_str());
  logJobMessage(messages::PATH_TOO_LONG, {cut});
  return false;
}

bool Scanner::ScannerInitStat(std::string_view path, fileInfo& file) const {
  file.path = path.data();
  file.pathLength = path.size();
  if (rules_.fitsStat(path.size())) return true;
  TRACE(TR_MIN, "path is too long ... throwing Exception with STA0139W for %s\n",
        localName(path).substr(0, WalkRules::NAME_BUFFER).c_str());
  return false;
}

void Scanner::ScannerFinishOffNextEntry(std::string& path, size_t directoryLength, std::string_view name) {
  path.resize(directoryLength);
  if (!path.ends_with('/')) path += '/';
  path += name;
}

void Scanner::ScannerFinishOffStat(FileAttributes& info, fileInfo& file) {
  const struct stat& status = file.stat;
  info.faType = file.type;
  file.scanner = this;
  file.now = scanStartSeconds_;

  const UserOrGroup* owner = userTable_.lookup(Sid(status.st_uid), false);
  const UserOrGroup* group = userTable_.lookup(Sid(status.st_gid), true);
  info.faOwner = owner;
  info.faGroup = group;
  file.user = owner->selectionName();
  file.group = group->selectionName();
  // A missing group makes no orphan: only owners are told apart.
  if (owner->ugRemoved) file.stat.st_mode |= ATTRIBUTE_ORPHAN;
  info.faAttributes = file.stat.st_mode;

  if (file.type > FileAttributes::DIRECTORY) file.stat.st_blocks = 0;
  info.faLength = status.st_size;
  info.faBlocks = status.st_blocks;
  info.faLinkCount = static_cast<int32_t>(status.st_nlink);
  info.faInodeNumber = static_cast<int64_t>(status.st_ino);
  // Seconds as signed 32-bit numbers: the width of the format, also for times beyond 2038.
  info.faModified = static_cast<int64_t>(static_cast<int32_t>(status.st_mtime)) * 1000;
  info.faAccessed = static_cast<int64_t>(static_cast<int32_t>(status.st_atime)) * 1000;

  if (selections_.empty()) return;
  matchedActions_.clear();
  if (level_ == 0 && file.pathLength == path_.size()) {
    evaluateOnRoot(file);
    return;
  }
  for (size_t index = 0; index < selections_.size(); ++index) {
    if (selections_[index] != nullptr && selects(*selections_[index], file)) {
      matchedActions_.push_back(static_cast<uint32_t>(index));
    }
  }
}

/// The root's path has a trailing slash, which no definition of a directory has: selections that name a
/// directory itself see it without.
void Scanner::evaluateOnRoot(const fileInfo& file) {
  const std::string withoutSlash(file.path, file.pathLength - 1);
  fileInfo directoryItself = file;
  directoryItself.path = withoutSlash.c_str();
  directoryItself.pathLength = withoutSlash.size();
  for (size_t index = 0; index < selections_.size(); ++index) {
    if (selections_[index] == nullptr) continue;
    const fileInfo& seen = actions_[index]->testsDirectoryItself() ? directoryItself : file;
    if (selects(*selections_[index], seen)) matchedActions_.push_back(static_cast<uint32_t>(index));
  }
}

}  // namespace agent
