#pragma once

#include "QLMlib/common/ut/LogFile.h"

namespace agent {

/// Takes the lines that are older than the settings' retention off the beginning of a log; for programs that
/// keep one log for years, such as the agent. The job's own logs are kept whole and purged by file.
///
/// A line's date is read from its first ten characters by the current date format. From the first line on
/// that is young enough everything stays, undated lines included; what stands before it is deleted or, with
/// mode 'S', appended to the save file. The new log is written to "zemprune.log" in the same directory and
/// takes the log's place only when it is whole: a failure leaves the log as it was, issues message 264, 265
/// or 267, and is no failure of the log itself.
void pruneLog(const LogFileSettings& settings);

}  // namespace agent
