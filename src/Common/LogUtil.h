#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace agent {

/// Decides how a run's log, trace and result files are called and which old ones have to go.
///
/// Two ways of naming. A run of a numbered job has files of its own, "<job>.<sid>_<component>.<run>.log",
/// with sid in four digits and run in eight. Everything else shares files numbered by instance,
/// "<component>_<instance>.log": a run goes on in the last one until less than a kilobyte of its limit is
/// left.
///
/// What is purged is told by names alone, in a directory where others may put anything: a file counts only if
/// this very job, or this component, could have given it its whole name. A directory never counts. A trace
/// takes along what belongs to it: the notify child's trace, and the segments of one above a segment's size.
///
/// WARNING: the agent finds a run's files by these names.
class LogUtil {
 public:
  int32_t maxNumLogs = 8;     ///< files by instance that are kept
  int32_t maxNumRuns = 5;     ///< runs of one job that are kept
  int32_t maxNumDays = 90;    ///< files by instance older than this go; 0 or less: age is no matter
  int32_t maxLogSize = 1024;  ///< where a file by instance is full, in kilobytes of 1024 bytes
  bool newFile = false;       ///< the name last worked out stands for a new file

  /// Instance and 0, or sid and run.
  using FileNumber = std::pair<int32_t, int32_t>;
  using FileMap = std::map<FileNumber, std::string>;

  /// A run's own identity in names; `valid` only with a job name and both numbers known.
  struct Run {
    std::string jobName;
    int32_t sid = -1;
    int32_t run = -1;

    bool valid() const { return !jobName.empty() && sid != -1 && run != -1; }
  };

  /// "<job>.<sid>_<component>.<run><extension>"
  static std::string runFileName(const Run& run, std::string_view component, std::string_view extension);

  /// The trace that the notify child writes beside the job's own; empty without one.
  static std::string notifyTraceFile(const std::string& traceFile);

  /// The file that a run writes its log or trace to, after purging what has to go.
  /// @param directory ends with "/"; it need not exist
  /// @param run not valid: a file by instance
  std::string nextFile(const std::string& directory, const Run& run, const std::string& component,
                       const std::string& extension);

  /// The name, without directory, of the file by instance that this run goes on in. Sets newFile.
  std::string getNextLogName(const std::string& directory, const std::string& prefix,
                             const std::string& extension);

  /// Files by instance: "<component>_NNNNNN<extension>".
  static FileMap getMatchingFilesMap(const std::string& directory, const std::string& component,
                                     const std::string& extension);
  /// Files of a job's runs: "<job>.NNNN_<component>.NNNNNNNN<extension>".
  static FileMap getMatchingFilesMap(const std::string& directory, const std::string& jobName,
                                     const std::string& component, const std::string& extension);

  /// Deletes the files that are too old (by instance only), then from the lowest number on as many as exceed
  /// the limit, the new file included. What can't be deleted stays.
  void purgeLogFiles(FileMap files, bool byInstance) const;
};

}  // namespace agent
