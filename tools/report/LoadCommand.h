#pragma once

#include <iosfwd>
#include <string>

#include "figures/ResultFile.h"
#include "report/ScanreportOptions.h"

// What scanreport does with whole results: it loads them into databases, or hands them to other programs.

namespace agent::tools {

// Exit codes of scanreport.
inline constexpr int SHOWN = 0;
inline constexpr int NOT_WHOLE = 1;
inline constexpr int BAD_USAGE = 2;
inline constexpr int LIMIT_PASSED = 3;
inline constexpr int SPOOLED = 4;

/// The host that a request names, otherwise this one.
/// @throws ResultFileError where this one has no name
std::string hostOf(const ReportRequest& request);

/// A result, with its checksum, for forms that can't tell that one isn't whole.
/// @throws ResultFileError where it isn't
ResultFile wholeResult(const std::string& file);

/// Loads every file that can be loaded into an SQLite database, and tells why others can't.
/// @return SHOWN or NOT_WHOLE
int loadIntoFile(const ReportRequest& request, std::ostream& out, std::ostream& err);

/// Loads every file that can be loaded into a fleet's database: what waits in the spool, then the files of
/// the request. While the server is away they are put into the spool, where there is one.
/// @return SHOWN, NOT_WHOLE where something isn't loaded and doesn't wait, or SPOOLED where something waits
/// @throws UsageError for a connection string that can't be used
int sendToServer(const ReportRequest& request, std::ostream& out, std::ostream& err);

}  // namespace agent::tools
