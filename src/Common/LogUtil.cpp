#include "Common/LogUtil.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <limits>
#include <optional>

#include "Common/EntityToObjectMapper.h"
#include "Common/unix/psnautil.h"
#include "QLMlib/common/unx/DirectoryStream.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/NumberText.h"
#include "QLMlib/common/ut/Trace.h"
#include "QLMlib/common/ut/TraceOutput.h"

namespace agent {

namespace {

constexpr int64_t BYTES_PER_KILOBYTE = 1024;
constexpr int64_t LEAST_ROOM = 1024;  // a file with less room than this is full
constexpr int64_t SECONDS_PER_DAY = 86400;
constexpr std::string_view TRACE_EXTENSION = ".trace";

std::string instanceFileName(std::string_view component, int32_t instance, std::string_view extension) {
  std::string name(component);
  return name.append("_").append(zeroFilled(instance, 6)).append(extension);
}

/// The number that begins at `position`. Whether nothing else stands there is seen by building the name anew.
int32_t numberAt(std::string_view name, size_t position) {
  return position < name.size() ? toInt32(name.substr(position)) : -1;
}

std::optional<LogUtil::FileNumber> instanceOf(std::string_view name, std::string_view component,
                                              std::string_view extension) {
  const int32_t instance = numberAt(name, component.size() + 1);
  // None could follow the highest there is, so counting never came so far.
  if (instance < 0 || instance == std::numeric_limits<int32_t>::max()) return {};
  if (name != instanceFileName(component, instance, extension)) return {};
  return LogUtil::FileNumber{instance, 0};
}

std::optional<LogUtil::FileNumber> runOf(std::string_view name, const std::string& jobName,
                                         std::string_view component, std::string_view extension) {
  const size_t sidStart = jobName.size() + 1;
  const LogUtil::Run run{jobName, numberAt(name, sidStart), numberAt(name, name.find('.', sidStart) + 1)};
  if (run.sid < 0 || run.run < 0 || name != LogUtil::runFileName(run, component, extension)) return {};
  return LogUtil::FileNumber{run.sid, run.run};
}

/// The files of a directory to which `numberOf` gives a number.
template <typename NumberOf>
LogUtil::FileMap matchingFiles(const std::string& directory, NumberOf numberOf) {
  LogUtil::FileMap files;
  DirectoryStream stream(directory);
  while (const dirent* entry = stream.next()) {
    const std::optional<LogUtil::FileNumber> number = numberOf(std::string_view(entry->d_name));
    struct stat status;
    if (!number || sys.fstatat(stream.descriptor(), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0 ||
        S_ISDIR(status.st_mode)) {
      continue;
    }
    files.emplace(*number, directory + entry->d_name);
  }
  if (files.empty()) TRACE(TR_MAX, "Found no matching file\n");
  return files;
}

/// Deletes a log or a trace. What belongs to a trace goes first: as long as the trace is there, the next
/// purge finds the rest.
void removeRunFile(const std::string& path) {
  if (path.ends_with(TRACE_EXTENSION)) {
    psRemoveFile(LogUtil::notifyTraceFile(path));
    TraceOutput::removeFurtherSegments(path);
  }
  psRemoveFile(path);
}

}  // namespace

std::string LogUtil::runFileName(const Run& run, std::string_view component, std::string_view extension) {
  std::string name = run.jobName;
  name += '.';
  name += zeroFilled(run.sid, 4);
  name += '_';
  name += component;
  name += '.';
  name += zeroFilled(run.run, 8);
  name += extension;
  return name;
}

std::string LogUtil::notifyTraceFile(const std::string& traceFile) {
  const size_t extension = traceFile.rfind(TRACE_EXTENSION);
  return extension == std::string::npos ? std::string() : traceFile.substr(0, extension) + ".notify.trace";
}

std::string LogUtil::nextFile(const std::string& directory, const Run& run, const std::string& component,
                              const std::string& extension) {
  if (run.valid()) {
    newFile = true;
    purgeLogFiles(getMatchingFilesMap(directory, run.jobName, component, extension), false);
    return directory + runFileName(run, component, extension);
  }
  const std::string name = getNextLogName(directory, component, extension);
  purgeLogFiles(getMatchingFilesMap(directory, component, extension), true);
  return directory + name;
}

std::string LogUtil::getNextLogName(const std::string& directory, const std::string& prefix,
                                    const std::string& extension) {
  const FileMap files = getMatchingFilesMap(directory, prefix, extension);
  int32_t instance = 0;
  newFile = true;
  if (!files.empty()) {
    const auto& [lastNumber, lastFile] = *files.rbegin();
    instance = lastNumber.first;
    struct stat status;
    if (sys.stat(lastFile.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
      TRACE(TR_MIN, "psFileSize failed on  = %s\n", lastFile.c_str());
      ++instance;
    } else if (maxLogSize * BYTES_PER_KILOBYTE - status.st_size < LEAST_ROOM) {
      ++instance;
    } else {
      newFile = false;
    }
  }
  return instanceFileName(prefix, instance, extension);
}

LogUtil::FileMap LogUtil::getMatchingFilesMap(const std::string& directory, const std::string& component,
                                              const std::string& extension) {
  return matchingFiles(directory,
                       [&](std::string_view name) { return instanceOf(name, component, extension); });
}

LogUtil::FileMap LogUtil::getMatchingFilesMap(const std::string& directory, const std::string& jobName,
                                              const std::string& component, const std::string& extension) {
  return matchingFiles(directory,
                       [&](std::string_view name) { return runOf(name, jobName, component, extension); });
}

void LogUtil::purgeLogFiles(FileMap files, bool byInstance) const {
  if (byInstance && maxNumDays > 0) {
    const int64_t oldest = ::time(nullptr) - maxNumDays * SECONDS_PER_DAY;
    for (auto file = files.begin(); file != files.end();) {
      struct stat status;
      if (sys.lstat(file->second.c_str(), &status) != 0 || status.st_mtime >= oldest) {
        ++file;
        continue;
      }
      TRACE(TR_MAX, "File \"%s\" will be deleted\n", file->second.c_str());
      removeRunFile(file->second);
      file = files.erase(file);
    }
  }
  const int64_t limit = byInstance ? maxNumLogs : maxNumRuns;
  int64_t excess = static_cast<int64_t>(files.size()) + (newFile ? 1 : 0) - limit;
  for (auto file = files.begin(); excess > 0 && file != files.end(); ++file, --excess) {
    const auto& [number, path] = *file;
    TRACE(TR_MAX, "File \"%s\" with run number %d will be deleted\n", path.c_str(), number.first);
    removeRunFile(path);
  }
}

}  // namespace agent
