#include "Common/LogUtil.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>

#include "Common/EntityToObjectMapper.h"
#include "Common/unix/psnautil.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

namespace {

constexpr size_t kInstanceDigits = 6;
constexpr size_t kSidDigits = 4;
constexpr int64_t kBytesPerKilobyte = 1024;
constexpr int64_t kLeastRoom = 1024;  // a file with less room than this is full
constexpr int64_t kSecondsPerDay = 86400;

std::string zeroFilled(const char* format, int32_t number) {
  char text[16];
  std::snprintf(text, sizeof text, format, number);
  return text;
}

bool startsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

bool hasExtension(std::string_view name, std::string_view extension) {
  const size_t dot = name.rfind('.');
  return dot != std::string_view::npos && name.substr(dot) == extension;
}

/// The number of exactly `count` digits at `position`, or -1.
int digitsAt(std::string_view name, size_t position, size_t count) {
  if (name.size() < position + count) return -1;
  const std::string_view digits = name.substr(position, count);
  const bool allDigits =
      std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
  return allDigits ? toInt32(digits) : -1;
}

/// The files of a directory to which `numberOf` gives a number of 0 or more.
template <typename NumberOf>
LogUtil::FileMap matchingFiles(const std::string& directory, NumberOf numberOf) {
  LogUtil::FileMap files;
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(directory.c_str()), ::closedir);
  if (stream) {
    while (const dirent* entry = ::readdir(stream.get())) {
      const int number = numberOf(std::string_view(entry->d_name));
      if (number >= 0) files.emplace(number, directory + entry->d_name);
    }
  }
  if (files.empty()) TRACE(TR_MAX, "Found no matching file\n");
  return files;
}

}  // namespace

std::string LogUtil::runFileName(const Run& run, std::string_view component, std::string_view extension) {
  std::string name = run.jobName;
  name += '.';
  name += zeroFilled("%04d", run.sid);
  name += '_';
  name += component;
  name += '.';
  name += zeroFilled("%08d", run.run);
  name += extension;
  return name;
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
  int instance = 0;
  newFile = true;
  if (!files.empty()) {
    const auto& [lastInstance, lastFile] = *files.rbegin();
    instance = lastInstance;
    struct stat status;
    if (::stat(lastFile.c_str(), &status) != 0) {
      TRACE(TR_MIN, "psFileSize failed on  = %s\n", lastFile.c_str());
      ++instance;
    } else if (maxLogSize * kBytesPerKilobyte - status.st_size < kLeastRoom) {
      ++instance;
    } else {
      newFile = false;
    }
  }
  return prefix + "_" + zeroFilled("%06d", instance) + extension;
}

LogUtil::FileMap LogUtil::getMatchingFilesMap(const std::string& directory, const std::string& component,
                                              const std::string& extension) {
  return matchingFiles(directory, [&](std::string_view name) {
    if (!startsWith(name, component) || !hasExtension(name, extension)) return -1;
    return digitsAt(name, component.size() + 1, kInstanceDigits);
  });
}

LogUtil::FileMap LogUtil::getMatchingFilesMap(const std::string& directory, const std::string& jobName,
                                              const std::string& component, const std::string& extension) {
  return matchingFiles(directory, [&](std::string_view name) {
    if (!startsWith(name, jobName) || !hasExtension(name, extension)) return -1;
    const size_t underscore = name.find('_', jobName.size());
    if (underscore == std::string_view::npos || !startsWith(name.substr(underscore + 1), component))
      return -1;
    return digitsAt(name, jobName.size() + 1, kSidDigits);
  });
}

void LogUtil::purgeLogFiles(FileMap files, bool byInstance) const {
  if (byInstance && maxNumDays > 0) {
    const int64_t oldest = ::time(nullptr) - maxNumDays * kSecondsPerDay;
    for (auto file = files.begin(); file != files.end();) {
      struct stat status;
      if (::lstat(file->second.c_str(), &status) != 0 || status.st_mtime >= oldest) {
        ++file;
        continue;
      }
      TRACE(TR_MAX, "File \"%s\" will be deleted\n", file->second.c_str());
      psRemoveFile(file->second);
      file = files.erase(file);
    }
  }
  const int64_t limit = byInstance ? maxNumLogs : maxNumRuns;
  int64_t excess = static_cast<int64_t>(files.size()) + (newFile ? 1 : 0) - limit;
  while (excess > 0 && !files.empty()) {
    const int lowest = files.begin()->first;
    const auto [begin, end] = files.equal_range(lowest);
    for (auto file = begin; file != end; ++file) {
      TRACE(TR_MAX, "File \"%s\" with run number %d will be deleted\n", file->second.c_str(), lowest);
      psRemoveFile(file->second);
    }
    excess -= std::distance(begin, end);
    files.erase(begin, end);
  }
}

}  // namespace agent
