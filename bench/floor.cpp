// The floor under a scan: what the system alone takes to list a tree and stat each entry, by threads that go
// through it in any order and do nothing else.
//
//   floor DIRECTORY [THREADS [fstatat|statx|statx-cached]]      default: 2 fstatat; prints the number of
//   entries
//
// statx asks for the fields of a scan only, statx-cached lets a network file system answer from what it
// knows.

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace {

std::mutex lock;
std::condition_variable wake;
std::vector<std::string> directories;  // that are to be read
size_t unfinished = 0;                 // those, and the ones that are being read
std::atomic<size_t> entries = 1;
std::string_view call = "fstatat";

/// @return the type of an entry; 0 when it can't be told
mode_t typeOf(int directory, const char* name) {
  if (call == "fstatat") {
    struct stat status;
    return ::fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) == 0 ? status.st_mode & S_IFMT : 0;
  }
  constexpr unsigned FIELDS = STATX_TYPE | STATX_MODE | STATX_NLINK | STATX_UID | STATX_GID | STATX_ATIME |
                              STATX_MTIME | STATX_INO | STATX_SIZE | STATX_BLOCKS;
  const int flags = AT_SYMLINK_NOFOLLOW | (call == "statx-cached" ? AT_STATX_DONT_SYNC : 0);
  struct statx status;
  return ::statx(directory, name, flags, FIELDS, &status) == 0 ? status.stx_mode & S_IFMT : 0;
}

void readDirectory(const std::string& path) {
  const int directory = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NOATIME);
  if (directory == -1) return;
  std::vector<std::string> found;
  alignas(dirent64) char buffer[65536];
  for (ssize_t bytes; (bytes = ::getdents64(directory, buffer, sizeof buffer)) > 0;) {
    for (ssize_t place = 0; place < bytes;) {
      const auto* const entry = reinterpret_cast<const dirent64*>(buffer + place);
      place += entry->d_reclen;
      const std::string_view name(entry->d_name);
      if (name == "." || name == "..") continue;
      const mode_t type = typeOf(directory, entry->d_name);
      if (type == 0) continue;
      ++entries;
      if (S_ISDIR(type)) found.push_back(path + '/' + entry->d_name);
    }
  }
  ::close(directory);
  if (found.empty()) return;
  const std::lock_guard guard(lock);
  unfinished += found.size();
  for (std::string& each : found) directories.push_back(std::move(each));
  wake.notify_all();
}

void work() {
  std::unique_lock guard(lock);
  while (unfinished > 0) {
    if (directories.empty()) {
      wake.wait(guard);
      continue;
    }
    const std::string path = std::move(directories.back());
    directories.pop_back();
    guard.unlock();
    readDirectory(path);
    guard.lock();
    --unfinished;
  }
  wake.notify_all();
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 2) return std::fprintf(stderr, "usage: floor DIRECTORY [THREADS [CALL]]\n"), 2;
  directories.emplace_back(arguments[1]);
  unfinished = 1;
  if (count > 3) call = arguments[3];
  std::vector<std::thread> threads;
  for (int i = count > 2 ? std::stoi(arguments[2]) : 2; i > 0; --i) threads.emplace_back(work);
  for (std::thread& thread : threads) thread.join();
  std::printf("%zu\n", entries.load());
}
