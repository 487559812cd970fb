#pragma once

#include <cstdint>
#include <string>

#include "QLMlib/common/thrd/Mutex.h"

namespace agent {

/// Guards the catalogs and their caches. It is taken after any other lock, and never held while the global
/// return code is set.
extern MutexHandle nls_mutex;

/// The language that was asked for; empty: what LC_MESSAGES of the environment says.
extern std::string zemLocale;

/// Opens <directory>/<language>/<catalogName> for the job's messages and zemclientV3.cat beside it for those
/// of this library, sets the formats (see DateTimeFormat.h), and puts the global return code in place. Of the
/// environment only LC_MESSAGES and LC_TIME are taken; of the other categories the process keeps the "C"
/// locale.
/// @return 0, or -1 where the job's English catalog can't be opened; standard error has been told then, as it
///     is of a language that has to do without its catalog
int initializeMessages(const std::string& catalogName, const std::string& directory, int32_t dateFormat,
                       int32_t timeFormat, int32_t numberFormat);

/// Closes the catalogs; messages have no text from here on.
void closeMessages();

/// The severity that the catalog gives message `number`: see NLSMsg; 255 if there is none; 6 if nls_mutex
/// can't be taken.
uint8_t messageSeverity(uint32_t number);

/// Issues message 263, a failure inside this library: to the trace, without feeding the global return code.
void issueInternalError(const char* file, unsigned line, const char* text);

}  // namespace agent
