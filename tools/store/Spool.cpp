#include "store/Spool.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

#include "Common/SafeText.h"
#include "Common/unix/FileDescriptor.h"
#include "Common/unix/psmsgutil.h"
#include "QLMlib/common/unx/SystemCalls.h"

namespace agent::tools {

namespace {

namespace files = std::filesystem;

constexpr std::string_view HOST = "host";
constexpr const char* RESULT_END = ".dat";
constexpr std::string_view REFUSED = "refused.";
constexpr size_t CHECKSUM_LETTERS = 16;  // enough to tell results of one spool apart

[[noreturn]] void fail(const std::string& what, const std::string& path, int error) {
  throw SpoolError(what + " \"" + safeText(path) + "\": " + getSystemErrorMessage(error));
}

/// Has what was written, or named, survive a loss of power.
void makeLast(const std::string& path, int flags) {
  const FileDescriptor opened = openFile(path.c_str(), flags);
  if (!opened || sys.fsync(opened.get()) != 0) fail("can't be made to last:", path, errno);
}

/// Writes a new file that nobody else may read.
void writeNew(const std::string& path, const std::function<bool(std::string& piece)>& next) {
  FileDescriptor file = openFile(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
  if (!file) fail("there can't be made", path, errno);
  std::string piece;
  while (next(piece)) {
    if (const int error = writeAll(file.get(), piece)) fail("there can't be written", path, error);
  }
  if (sys.fsync(file.get()) != 0) fail("can't be made to last:", path, errno);
  if (const int error = file.close()) fail("there can't be written", path, error);
}

void copyFile(const std::string& from, const std::string& to) {
  const FileDescriptor source = openFile(from.c_str(), O_RDONLY | O_NONBLOCK);
  if (!source) fail("can't be read:", from, errno);
  writeNew(to, [&](std::string& piece) {
    piece.resize(size_t{1} << 16);
    const ssize_t size = sys.read(source.get(), piece.data(), piece.size());
    if (size < 0) fail("can't be read:", from, errno);
    piece.resize(static_cast<size_t>(size));
    return size > 0;
  });
}

/// A directory that is removed with what is in it unless it has got its name.
class NewDirectory {
 public:
  explicit NewDirectory(std::string path) : path_(std::move(path)) {
    if (sys.mkdir(path_.c_str(), 0700) != 0) fail("there can't be made", path_, errno);
  }
  ~NewDirectory() {
    std::error_code ignored;
    if (!path_.empty()) files::remove_all(path_, ignored);
  }
  NewDirectory(const NewDirectory&) = delete;
  NewDirectory& operator=(const NewDirectory&) = delete;

  const std::string& path() const { return path_; }
  void rename(const std::string& name) {
    makeLast(path_, O_RDONLY | O_DIRECTORY);
    if (sys.rename(path_.c_str(), name.c_str()) != 0) fail("there can't be made", name, errno);
    path_.clear();
  }

 private:
  std::string path_;
};

/// "00001795560053123456789.0123456789abcdef": in the order of time.
std::string nameNow(const std::string& checksum) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  std::string digits = std::to_string(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
  digits.insert(0, 20 - std::min<size_t>(digits.size(), 20), '0');
  return digits + "." + checksum.substr(0, CHECKSUM_LETTERS);
}

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// What stands in a directory, in the order of names.
/// @return nothing where it has gone meanwhile: another process may take from the spool at any time
std::vector<files::path> entriesOf(const std::string& directory) {
  std::vector<files::path> entries;
  std::error_code error;
  files::directory_iterator at(directory, error);
  for (; !error && at != files::directory_iterator(); at.increment(error)) entries.push_back(at->path());
  if (error && error != std::errc::no_such_file_or_directory)
    fail("can't be read:", directory, error.value());
  std::sort(entries.begin(), entries.end());
  return entries;
}

/// What processes left that were killed while they put something there or took it away. A day is longer than
/// any of them takes.
void removeHalves(const std::string& directory) {
  const auto yesterday = files::file_time_type::clock::now() - std::chrono::hours(24);
  for (const files::path& path : entriesOf(directory)) {
    std::error_code ignored;
    const bool isHalf = path.filename().string().starts_with('.');
    if (isHalf && files::last_write_time(path, ignored) < yesterday && !ignored)
      files::remove_all(path, ignored);
  }
}

/// Takes a directory away as a whole: a result without its host beside it would be sent as another one's.
void remove(const std::string& path) {
  const size_t name = path.rfind('/') + 1;
  const std::string half = path.substr(0, name) + "." + path.substr(name);
  if (sys.rename(path.c_str(), half.c_str()) != 0) fail("can't be taken out of the spool:", path, errno);
  std::error_code ignored;
  files::remove_all(half, ignored);
}

}  // namespace

Spool::Spool(std::string directory) : directory_(std::move(directory)) {
  if (sys.mkdir(directory_.c_str(), 0700) != 0 && errno != EEXIST)
    fail("there can't be made", directory_, errno);
  struct stat status = {};
  if (sys.stat(directory_.c_str(), &status) != 0) fail("can't be used:", directory_, errno);
  if (!S_ISDIR(status.st_mode)) fail("can't be used:", directory_, ENOTDIR);
}

void Spool::put(const std::string& file, const std::string& host, const std::string& checksum) const {
  const std::string end = "." + checksum.substr(0, CHECKSUM_LETTERS);
  for (const SpooledResult& known : waiting()) {
    if (known.directory.ends_with(end) && known.host == host) return;
  }
  const std::string name = directory_ + "/" + nameNow(checksum);
  NewDirectory made(directory_ + "/." + name.substr(name.rfind('/') + 1));
  const std::string own = file.substr(file.rfind('/') + 1);
  copyFile(file, made.path() + "/" + own + (own.ends_with(RESULT_END) ? "" : RESULT_END));
  bool isWritten = false;
  writeNew(made.path() + "/" + std::string(HOST), [&](std::string& piece) {
    piece = host;
    return !std::exchange(isWritten, true);
  });
  made.rename(name);
  makeLast(directory_, O_RDONLY | O_DIRECTORY);
}

/// The oldest first.
std::vector<SpooledResult> Spool::waiting() const {
  std::vector<SpooledResult> all;
  for (const files::path& path : entriesOf(directory_)) {
    const std::string name = path.filename().string();
    std::error_code gone;
    if (name.starts_with('.') || name.starts_with(REFUSED) || !files::is_directory(path, gone)) continue;
    SpooledResult result;
    result.directory = path.string();
    for (const files::path& part : entriesOf(path.string())) {
      if (part.filename() == HOST) {
        result.host = contentOf(part.string());
      } else {
        result.file = part.string();
      }
    }
    if (!result.file.empty()) all.push_back(std::move(result));
  }
  return all;
}

void Spool::sendAll(const std::function<bool(const SpooledResult&)>& send) const {
  const FileDescriptor lock = openFile(directory_.c_str(), O_RDONLY | O_DIRECTORY);
  if (!lock) fail("can't be used:", directory_, errno);
  if (sys.flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) return;
    fail("can't be locked:", directory_, errno);
  }
  removeHalves(directory_);
  for (const SpooledResult& result : waiting()) {
    if (send(result)) remove(result.directory);
  }
}

std::string Spool::setAside(const SpooledResult& result) const {
  const std::string name = result.directory.substr(result.directory.rfind('/') + 1);
  std::string aside = directory_ + "/" + std::string(REFUSED) + name;
  if (sys.rename(result.directory.c_str(), aside.c_str()) != 0)
    fail("can't be set aside:", result.directory, errno);
  return aside;
}

size_t Spool::size() const {
  return waiting().size();
}

}  // namespace agent::tools
