#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <string_view>

namespace agent {

/// Decides how a run's log, trace and result files are called and which old ones have to go.
///
/// Two ways of naming. A run of a numbered job has files of its own, "<job>.<sid>_<component>.<run>.log",
/// with sid in four digits and run in eight. Everything else shares files numbered by instance,
/// "<component>_<instance>.log": a run goes on in the last one until less than a kilobyte of its limit is
/// left.
///
/// WARNING: the agent finds a run's files by these names.
class LogUtil {
 public:
  int32_t maxNumLogs = 8;     ///< files by instance that are kept
  int32_t maxNumRuns = 5;     ///< runs of one job that are kept
  int32_t maxNumDays = 90;    ///< files by instance older than this go; 0 or less: age is no matter
  int32_t maxLogSize = 1024;  ///< where a file by instance is full, in kilobytes of 1024 bytes
  bool newFile = false;       ///< the name last worked out stands for a new file

  /// Files by their number, several with the same number included.
  using FileMap = std::multimap<int, std::string>;

  /// A run's own identity in names; `valid` only with a job name and both numbers known.
  struct Run {
    std::string jobName;
    int32_t sid = -1;
    int32_t run = -1;

    bool valid() const { return !jobName.empty() && sid != -1 && run != -1; }
  };

  /// "<job>.<sid>_<component>.<run><extension>"
  static std::string runFileName(const Run& run, std::string_view component, std::string_view extension);

  /// The file that a run writes its log or trace to, after purging what has to go.
  /// @param directory ends with "/"; it need not exist
  /// @param run not valid: a file by instance
  std::string nextFile(const std::string& directory, const Run& run, const std::string& component,
                       const std::string& extension);

  /// The name, without directory, of the file by instance that this run goes on in. Sets newFile.
  std::string getNextLogName(const std::string& directory, const std::string& prefix,
                             const std::string& extension);

  /// Files by instance: "<component>?NNNNNN...<extension>".
  static FileMap getMatchingFilesMap(const std::string& directory, const std::string& component,
                                     const std::string& extension);
  /// Files of a job's runs, by sid: "<job>?NNNN..._<component>...<extension>".
  static FileMap getMatchingFilesMap(const std::string& directory, const std::string& jobName,
                                     const std::string& component, const std::string& extension);

  /// Deletes the files that are too old (by instance only), then the lowest numbers until the rest, with the
  /// new file, is within the limit. Of several files with one number all go. What can't be deleted stays.
  void purgeLogFiles(FileMap files, bool byInstance) const;
};

}  // namespace agent
