// A file system that shows an existing tree and answers as slowly as it is told to: what a dead or a busy
// server is to a scan. A call that hangs can't be interrupted, only killed with its process, as one into a
// hard mount.
//
//   slow_filesystem MOUNTPOINT TREE RULES JOURNAL
//
// RULES is read again and again; one rule a line, the first that fits counts:
//   <getattr|opendir|readdir|statfs> <pattern of the path, as fnmatch(3) takes it> <milliseconds|hang>
// JOURNAL gets a line "<operation> <path>" for each request that a rule fits, before it waits. Nothing is
// cached, so each lookup of a name is one getattr. While one waits, the kernel lets nobody else look into its
// directory, nor read it: a name that is to hang alone needs a directory of its own.

#define FUSE_USE_VERSION 312

#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <fuse.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

namespace {

using namespace std::chrono_literals;

constexpr auto LONGEST_HANG = 100s;  // whatever goes wrong, nothing stays in the kernel for ever

std::string tree;
std::string rules;
std::string journal;

/// Whether a thread has been told to die, as a killable wait of the kernel tests it; no other signal counts
/// but the SIGSTOP of a tracer, since a leak checker stops all threads of a job that ends.
bool isToLetGo(pid_t thread) {
  std::ifstream status("/proc/" + std::to_string(thread) + "/status");
  if (!status) return true;
  for (std::string line; std::getline(status, line);) {
    if (!line.starts_with("SigPnd:")) continue;
    return (std::stoull(line.substr(8), nullptr, 16) & (1u << (SIGKILL - 1) | 1u << (SIGSTOP - 1))) != 0;
  }
  return true;
}

void note(const std::string& line) {
  const int file = open(journal.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  if (file < 0) return;
  if (write(file, line.data(), line.size()) < 0) perror("slow_filesystem");
  close(file);
}

/// How long the rules make a request wait; 0 if none fits.
std::chrono::milliseconds delayOf(const std::string& operation, const char* path) {
  std::ifstream file(rules);
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    std::string name, pattern, time;
    words >> name >> pattern >> time;
    if (name != operation || fnmatch(pattern.c_str(), path, 0) != 0) continue;
    return time == "hang" ? LONGEST_HANG : std::chrono::milliseconds(std::stol(time));
  }
  return 0ms;
}

/// Waits as long as the rules say so; one that is taken away lets go what waits by it.
/// @return 0, or what the call fails with because its caller was killed
int waitFor(const std::string& operation, const char* path) {
  if (delayOf(operation, path) == 0ms) return 0;
  note(operation + " " + path + "\n");
  const auto start = std::chrono::steady_clock::now();
  const pid_t caller = fuse_get_context()->pid;
  while (std::chrono::steady_clock::now() - start < delayOf(operation, path)) {
    if (isToLetGo(caller)) return -EINTR;
    std::this_thread::sleep_for(5ms);
  }
  return 0;
}

int slowGetattr(const char* path, struct stat* status, fuse_file_info*) {
  if (const int killed = waitFor("getattr", path)) return killed;
  return lstat((tree + path).c_str(), status) == 0 ? 0 : -errno;
}

int slowOpendir(const char* path, fuse_file_info*) {
  if (const int killed = waitFor("opendir", path)) return killed;
  return access((tree + path).c_str(), R_OK) == 0 ? 0 : -errno;
}

int slowReaddir(const char* path, void* buffer, fuse_fill_dir_t fill, off_t, fuse_file_info*,
                fuse_readdir_flags) {
  if (const int killed = waitFor("readdir", path)) return killed;
  DIR* directory = opendir((tree + path).c_str());
  if (directory == nullptr) return -errno;
  while (const dirent* entry = readdir(directory))
    fill(buffer, entry->d_name, nullptr, 0, fuse_fill_dir_flags{});
  closedir(directory);
  return 0;
}

int slowStatfs(const char* path, struct statvfs* figures) {
  if (const int killed = waitFor("statfs", path)) return killed;
  return statvfs(tree.c_str(), figures) == 0 ? 0 : -errno;
}

void* init(fuse_conn_info* connection, fuse_config* config) {
  connection->want &= ~static_cast<unsigned>(FUSE_CAP_READDIRPLUS | FUSE_CAP_READDIRPLUS_AUTO);
  config->use_ino = 1;
  config->entry_timeout = 0;
  config->negative_timeout = 0;
  config->attr_timeout = 60;
  return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) return 2;
  prctl(PR_SET_PDEATHSIG, SIGKILL);  // never outlives the test
  tree = argv[2];
  rules = argv[3];
  journal = argv[4];

  fuse_operations operations = {};
  operations.init = init;
  operations.getattr = slowGetattr;
  operations.opendir = slowOpendir;
  operations.readdir = slowReaddir;
  operations.statfs = slowStatfs;
  char fsname[] = "-ofsname=slow,subtype=slow";
  char* words[] = {argv[0], fsname, nullptr};
  fuse_args args = FUSE_ARGS_INIT(2, words);
  fuse* filesystem = fuse_new(&args, &operations, sizeof operations, nullptr);
  if (filesystem == nullptr || fuse_mount(filesystem, argv[1]) != 0) return 1;
  fuse_loop_config* loop = fuse_loop_cfg_create();
  fuse_loop_cfg_set_max_threads(loop, 200);  // a hanging request keeps its thread
  return fuse_loop_mt(filesystem, loop) == 0 ? 0 : 1;
}
