#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

#include <sys/types.h>

namespace agent {

/// When the processes that hold locks were started. The system gives a process number anew once its process
/// has ended, so that an entry of the resource file may name another program by now.
///
/// It has a file of its own, since programs that know nothing of it read and write the resource file too:
///
///   install/log/vox_scan_res.starts   67 81 1795640126000000000 6b0f4c6e-…   the resource file, the boot
///                                     4711 8271234                           a process, its start in ticks
///
/// It counts only while the resource file is the one of its first line (inode, bytes, nanoseconds of its last
/// change): whoever has changed that since may have taken a lock under a number that is noted here. Where it
/// doesn't count or can't be read, numbers count alone.
///
/// To be used under the companion of the resource file.
class LockStarts {
 public:
  explicit LockStarts(const std::string& resourcePath);

  /// True when the process that runs under this number is known not to be the one that took the lock.
  bool isAnother(pid_t process) const;

  /// Notes the starts of these owners beside the resource file as it is now: those that were noted, and that
  /// of this process. Without any the file goes. Failures are traced.
  void write(const std::set<pid_t>& owners) const;

 private:
  const std::string resourcePath_;
  const std::string path_;
  bool isOfThisBoot_ = true;
  std::map<pid_t, uint64_t> starts_;
};

}  // namespace agent
