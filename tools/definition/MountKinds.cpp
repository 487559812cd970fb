#include "definition/MountKinds.h"

#include <fcntl.h>
#include <mntent.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>

#include "QLMlib/common/unx/OwnedDescriptor.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "definition/ScandefDefinition.h"

namespace agent::scandef {

namespace {

constexpr const char* TABLE = "/proc/self/mounts";

std::string withoutSlashes(const std::string& path) {
  const size_t end = path.find_last_not_of('/');
  return end == std::string::npos ? "/" : path.substr(0, end + 1);
}

int16_t typeOf(const std::string& name) {
  const std::string known = name == "nfs4" ? "nfs" : name == "smb3" ? "cifs" : name;
  const auto found =
      std::find_if(FILESYSTEM_TYPES.begin(), FILESYSTEM_TYPES.end(),
                   [&known](const FilesystemType& candidate) { return candidate.name == known; });
  return found != FILESYSTEM_TYPES.end() ? found->type : static_cast<int16_t>(-1);
}

}  // namespace

MountKinds MountKinds::ofThisHost() {
  MountKinds kinds;
  OwnedDescriptor descriptor(sys.open(TABLE, O_RDONLY | O_CLOEXEC, 0));
  const std::unique_ptr<FILE, int (*)(FILE*)> table(descriptor ? sys.fdopen(descriptor.get(), "r") : nullptr,
                                                    [](FILE* stream) { return sys.fclose(stream); });
  if (table == nullptr) return kinds;
  (void)descriptor.release();
  struct mntent record = {};
  std::array<char, 16384> words = {};
  while (::getmntent_r(table.get(), &record, words.data(), static_cast<int>(words.size())) != nullptr) {
    kinds.add(record.mnt_dir, record.mnt_type, record.mnt_fsname);
  }
  return kinds;
}

void MountKinds::add(const std::string& mountPoint, const std::string& type, const std::string& source) {
  mounts_[withoutSlashes(mountPoint)] = {type, typeOf(type), source};
}

std::optional<MountKinds::Mount> MountKinds::at(const std::string& path) const {
  const auto found = mounts_.find(withoutSlashes(path));
  return found != mounts_.end() ? std::optional(found->second) : std::nullopt;
}

std::string MountKinds::mountPointOf(const std::string& path) const {
  for (std::string place = withoutSlashes(path);;) {
    if (mounts_.contains(place)) return place;
    const size_t slash = place.rfind('/');
    if (slash == std::string::npos || place == "/") return {};
    place = slash == 0 ? "/" : place.substr(0, slash);
  }
}

}  // namespace agent::scandef
