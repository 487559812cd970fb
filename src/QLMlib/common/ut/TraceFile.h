#pragma once

#include <cstdint>
#include <string>

namespace agent {

/// Sets the trace facility up: clears all class flags, applies the debug word and opens the file.
///
/// Without a file name everything stays off. The names STDOUT, STDERR and CONSOLE mean no file. The file's
/// size stays within the limit: it is a ring whose oldest records are overwritten (see TraceOutput.h).
/// May be called again after closeTrace.
/// @param debugWord "MIN", "MID" or "MAX"
/// @param maxLogSizeKilobytes limit of the file; rounded down to megabytes, at least one
/// @return 0; 30 if the facility or the file's directory can't be set up; 1 if the file can't be opened
int initializeTrace(const std::string& fileName, const std::string& debugWord, int32_t maxLogSizeKilobytes);

/// Writes the end mark, closes the file and turns all classes off. Does nothing while no trace is open.
void closeTrace();

}  // namespace agent
