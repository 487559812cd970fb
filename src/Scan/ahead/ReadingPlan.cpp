#include "Scan/ahead/ReadingPlan.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <utility>

#include "QLMlib/common/unx/LimitedCalls.h"
#include "QLMlib/common/unx/OwnedDescriptor.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/NumberText.h"
#include "QLMlib/common/ut/Trace.h"
#include "Scan/ahead/AheadDirectoryCalls.h"
#include "Scan/ahead/ReadAhead.h"

namespace agent {

namespace {

constexpr size_t LOCAL_READERS = 4;  // the walk among them, where it reads
constexpr size_t ROTATING_READERS = 2;
constexpr size_t WAITING_READERS = 32;
constexpr size_t MOST_FORCED_READERS = 256;
constexpr size_t DEFAULT_DESCRIPTORS = 1024;

// Types of statfs(2) whose calls wait for a server, for other hosts or for a process. Those that
// linux/magic.h doesn't name are their file systems' own.
constexpr std::array<uint32_t, 17> WAITING_TYPES = {NFS_SUPER_MAGIC,  SMB_SUPER_MAGIC,  CODA_SUPER_MAGIC,
                                                    AFS_SUPER_MAGIC,  V9FS_MAGIC,       CIFS_SUPER_MAGIC,
                                                    SMB2_SUPER_MAGIC, CEPH_SUPER_MAGIC, OCFS2_SUPER_MAGIC,
                                                    0x65735546,   // FUSE
                                                    0x786F4256,   // shared folders of a virtual machine
                                                    0x01161970,   // GFS2
                                                    0x0BD00BD0,   // Lustre
                                                    0x47504653,   // GPFS
                                                    0x19830326,   // BeeGFS
                                                    0x7C7C6673,   // prl_fs
                                                    0xBACBACBC};  // vmhgfs

/// Processors that a quota leaves; nothing where there is none.
std::optional<uint64_t> quotaOf(std::string_view quota, std::string_view period) {
  const auto microseconds = wholeNumber<uint64_t>(quota);  // "max" and "-1" mean none
  const auto each = wholeNumber<uint64_t>(period);
  if (!microseconds || !each || *each == 0) return std::nullopt;
  return *microseconds / *each;
}

/// The smallest quota of a control group and those that it lies in.
/// @param hierarchy where its kind is mounted
size_t quotaAlong(const std::string& hierarchy, std::string group, bool isSecondVersion) {
  uint64_t smallest = SIZE_MAX;
  while (true) {
    const std::string directory = hierarchy + group + "/";
    std::optional<uint64_t> quota;
    if (isSecondVersion) {
      const std::string content = beginningOf(directory + "cpu.max");
      const std::string_view first = firstWord(content);
      if (first.size() < content.size()) {
        quota = quotaOf(first, firstWord(std::string_view(content).substr(first.size() + 1)));
      }
    } else {
      quota = quotaOf(firstWord(beginningOf(directory + "cpu.cfs_quota_us")),
                      firstWord(beginningOf(directory + "cpu.cfs_period_us")));
    }
    if (quota) smallest = std::min(smallest, *quota);
    const size_t slash = group.rfind('/');
    if (group.empty() || slash == std::string::npos) return smallest;
    group.resize(slash);
  }
}

/// What the process's control groups leave it, by the lines of /proc/self/cgroup: "0::/group" for the second
/// version, "4:cpu,cpuacct:/group" for the first.
size_t processorsOfQuota() {
  size_t smallest = SIZE_MAX;
  const std::string lines = beginningOf("/proc/self/cgroup");
  for (size_t begin = 0; begin < lines.size();) {
    const size_t end = std::min(lines.find('\n', begin), lines.size());
    const std::string line = lines.substr(begin, end - begin);
    begin = end + 1;
    const size_t controllers = line.find(':') + 1;
    const size_t group = line.find(':', controllers) + 1;
    if (controllers == 0 || group == 0) continue;
    const std::string names = "," + line.substr(controllers, group - 1 - controllers) + ",";
    if (names == ",,") {
      smallest = std::min(smallest, quotaAlong("/sys/fs/cgroup", line.substr(group), true));
    } else if (names.find(",cpu,") != std::string::npos) {
      smallest = std::min(smallest, quotaAlong("/sys/fs/cgroup/cpu", line.substr(group), false));
    }
  }
  return smallest;
}

/// Whether the disk below a path rotates. Unknown counts as no.
bool isRotating(const std::string& path, int limit) {
  struct stat status = {};
  int error = 0;
  if (zemNFSsyscalls(path.c_str(), 0, &status, NFS_STAT, limit, &error) != 0) return false;
  const std::string device = "/sys/dev/block/" + std::to_string(major(status.st_dev)) + ":" +
                             std::to_string(minor(status.st_dev)) + "/";
  std::string rotational = beginningOf(device + "queue/rotational");
  if (rotational.empty()) rotational = beginningOf(device + "../queue/rotational");  // a part of a disk
  return firstWord(rotational) == "1";
}

bool isWaiting(const std::string& path, int limit) {
  struct statfs status = {};
  int error = 0;
  if (zemNFSsyscalls(path.c_str(), 0, &status, NFS_STATFS, limit, &error) != 0) return false;
  const auto type = static_cast<uint32_t>(status.f_type);
  return std::find(WAITING_TYPES.begin(), WAITING_TYPES.end(), type) != WAITING_TYPES.end();
}

/// Half of what the process may have open.
size_t descriptorsForReading() {
  rlimit limit{};
  if (sys.getrlimit(RLIMIT_NOFILE, &limit) != 0) return DEFAULT_DESCRIPTORS / 2;
  return std::min<rlim_t>(limit.rlim_cur, DEFAULT_DESCRIPTORS) / 2;
}

}  // namespace

size_t usableProcessors() {
  cpu_set_t processors;
  size_t count = 1;
  if (sched_getaffinity(0, sizeof processors, &processors) == 0) {
    count = static_cast<size_t>(CPU_COUNT(&processors));
  }
  return std::max<size_t>(1, std::min(count, processorsOfQuota()));
}

ReadingPlan ReadingPlan::of(const std::string& root, int limit, size_t processors) {
  ReadingPlan plan;
  const bool isLimited = limit > 0;
  plan.isSlow = isWaiting(root, limit);
  plan.walkHelps = !plan.isSlow && !isLimited;
  if (plan.isSlow) {
    plan.workers = WAITING_READERS;
    plan.reason = "calls wait for a server or a process";
  } else {
    const bool rotates = isRotating(root, limit);
    const size_t readers = std::min(rotates ? ROTATING_READERS : LOCAL_READERS, processors);
    plan.workers = isLimited ? readers : readers - 1;
    plan.reason = rotates ? "a disk that rotates" : "a local file system";
  }
  const char* const forced = std::getenv(VARIABLE);
  if (forced != nullptr) {
    if (const auto workers = wholeNumber<size_t>(forced)) {
      plan.workers = std::clamp<size_t>(*workers, isLimited ? 1 : 0, MOST_FORCED_READERS);
      plan.reason = "the environment asks for it";
    }
  }
  return plan;
}

std::unique_ptr<DirectoryCalls> readingCalls(const WalkRules& rules, int limit, size_t processors) {
  const std::string root = rules.localName(rules.rootPath());
  const ReadingPlan plan = ReadingPlan::of(root, limit, processors);
  const size_t descriptors = descriptorsForReading();
  TRACE(TR_MIN,
        "%s: %s: up to %zu threads read ahead of the walk, which %s. At most %zu descriptors, %d seconds for "
        "each call (0: any).\n",
        root.c_str(), plan.reason, plan.workers,
        plan.workers == 0 || plan.walkHelps ? "reads as well" : "makes no call itself", descriptors,
        std::max(limit, 0));
  if (plan.workers == 0) return std::make_unique<DirectoryCalls>();
  return std::make_unique<AheadDirectoryCalls>(
      std::make_unique<ReadAhead>(ReadAhead::Setup{.calls = std::make_shared<DirectoryCalls>(),
                                                   .rules = rules,
                                                   .workers = plan.workers,
                                                   .walkHelps = plan.walkHelps,
                                                   .isSlow = plan.isSlow,
                                                   .limit = std::chrono::seconds(std::max(limit, 0)),
                                                   .descriptors = descriptors}));
}

}  // namespace agent
