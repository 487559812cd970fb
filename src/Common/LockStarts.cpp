#include "Common/LockStarts.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>

#include "Common/unix/psnautil.h"
#include "QLMlib/common/unx/LineReader.h"
#include "QLMlib/common/unx/OwnedDescriptor.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/NumberText.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

namespace {

constexpr int64_t NANOSECONDS = 1'000'000'000;

/// What tells a state of the resource file from any other; nothing where it can't be had.
std::optional<std::string> stateOf(const std::string& path) {
  struct stat status;
  if (sys.stat(path.c_str(), &status) != 0) return std::nullopt;
  const int64_t changed = status.st_mtim.tv_sec * NANOSECONDS + status.st_mtim.tv_nsec;
  return std::to_string(status.st_ino) + " " + std::to_string(status.st_size) + " " + std::to_string(changed);
}

std::string boot() {
  return std::string(firstWord(beginningOf("/proc/sys/kernel/random/boot_id")));
}

}  // namespace

LockStarts::LockStarts(const std::string& resourcePath)
    : resourcePath_(resourcePath), path_(resourcePath + ".starts") {
  const std::string thisBoot = boot();
  const std::optional<std::string> state = stateOf(resourcePath_);
  LineReader reader(openFile(path_.c_str(), O_RDONLY));
  const auto first = reader.isOpen() ? reader.next() : std::nullopt;
  // What isn't known for certain must not make a lock that is held look stale.
  if (!first || !state || thisBoot.empty() || !first->starts_with(*state + " ")) return;
  isOfThisBoot_ = first->substr(state->size() + 1) == thisBoot;
  while (const auto line = reader.next()) {
    const auto process = wholeNumber<pid_t>(firstWord(*line));
    const auto start =
        wholeNumber<uint64_t>(line->substr(std::min(line->size(), firstWord(*line).size() + 1)));
    if (process && start) starts_.emplace(*process, *start);
  }
  if (reader.failed()) starts_.clear();
}

bool LockStarts::isAnother(pid_t process) const {
  const auto noted = starts_.find(process);
  if (noted == starts_.end()) return false;
  if (!isOfThisBoot_) return true;
  const uint64_t start = psProcessStart(process);
  return start != 0 && start != noted->second;
}

void LockStarts::write(const std::set<pid_t>& owners) const {
  std::string notes;
  for (const pid_t owner : owners) {
    const auto noted = starts_.find(owner);
    const bool isNoted = noted != starts_.end() && isOfThisBoot_;
    const uint64_t start = owner == ::getpid() ? psProcessStart(owner) : isNoted ? noted->second : 0;
    if (start != 0) notes += std::to_string(owner) + " " + std::to_string(start) + "\n";
  }
  const std::string workingCopy = workingCopyOf(path_);
  const std::optional<std::string> state = stateOf(resourcePath_);
  const std::string thisBoot = boot();
  if (notes.empty() || !state || thisBoot.empty()) {
    sys.unlink(path_.c_str());
    sys.unlink(workingCopy.c_str());  // of a process that was killed at its work
    return;
  }
  OwnedDescriptor file = openFile(workingCopy.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  int error = file ? writeAll(file.get(), *state + " " + thisBoot + "\n" + notes, 0) : errno;
  if (const int closeError = file.close(); error == 0) error = closeError;
  if (error == 0 && sys.rename(workingCopy.c_str(), path_.c_str()) == 0) return;
  TRACE(TR_MIN, "Unable to write %s: numbers of processes count alone\n", path_.c_str());
  sys.unlink(workingCopy.c_str());
}

}  // namespace agent
