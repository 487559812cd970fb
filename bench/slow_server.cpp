// A file system whose every answer takes its time, as behind a network: DIRECTORIES directories of FILES
// empty files each. What it has answered is kept by the kernel, so every measurement wants a mount of its
// own.
//
//   slow_server MOUNTPOINT DIRECTORIES FILES [MICROSECONDS [THREADS]]      default: 1000, 80

#define FUSE_USE_VERSION 312

#include <fuse.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

namespace {

int directories = 0;
int files = 0;
std::chrono::microseconds answerTime{1000};

void answer() {
  std::this_thread::sleep_for(answerTime);
}

/// Slashes of a path say what it is: "/" the root, "/d1" a directory, "/d1/f1" a file.
int depthOf(const std::string& path) {
  if (path == "/") return 0;
  return path.find('/', 1) == std::string::npos ? 1 : 2;
}

int getattr(const char* path, struct stat* status, fuse_file_info*) {
  answer();
  *status = {};
  status->st_mode = depthOf(path) < 2 ? S_IFDIR | 0755 : S_IFREG | 0644;
  status->st_nlink = 1;
  return 0;
}

int opendir(const char*, fuse_file_info*) {
  answer();
  return 0;
}

int readdir(const char* path, void* buffer, fuse_fill_dir_t fill, off_t, fuse_file_info*,
            fuse_readdir_flags) {
  answer();
  const bool isRoot = depthOf(path) == 0;
  for (int i = 0; i < (isRoot ? directories : files); ++i) {
    fill(buffer, ((isRoot ? "d" : "f") + std::to_string(i)).c_str(), nullptr, 0, fuse_fill_dir_flags{});
  }
  return 0;
}

int statfs(const char*, struct statvfs* figures) {
  *figures = {};
  figures->f_bsize = figures->f_frsize = 4096;
  figures->f_blocks = figures->f_bfree = 1000;
  return 0;
}

void* init(fuse_conn_info* connection, fuse_config* config) {
  connection->want &= ~static_cast<unsigned>(FUSE_CAP_READDIRPLUS | FUSE_CAP_READDIRPLUS_AUTO);
  config->entry_timeout = config->attr_timeout = 600;
  return nullptr;
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 4) return 2;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  directories = std::stoi(arguments[2]);
  files = std::stoi(arguments[3]);
  if (count > 4) answerTime = std::chrono::microseconds(std::stoi(arguments[4]));

  fuse_operations operations = {};
  operations.init = init;
  operations.getattr = getattr;
  operations.opendir = opendir;
  operations.readdir = readdir;
  operations.statfs = statfs;
  char name[] = "-ofsname=slow,subtype=slow";
  char* words[] = {arguments[0], name, nullptr};
  fuse_args options = FUSE_ARGS_INIT(2, words);
  fuse* const filesystem = fuse_new(&options, &operations, sizeof operations, nullptr);
  if (filesystem == nullptr || fuse_mount(filesystem, arguments[1]) != 0) return 1;
  fuse_loop_config* const loop = fuse_loop_cfg_create();
  const auto threads = static_cast<unsigned>(count > 5 ? std::stoi(arguments[5]) : 80);
  fuse_loop_cfg_set_max_threads(loop, threads);
  fuse_loop_cfg_set_idle_threads(loop, threads);
  return fuse_loop_mt(filesystem, loop) == 0 ? 0 : 1;
}
