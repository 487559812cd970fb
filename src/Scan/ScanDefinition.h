#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "Scan/AgentScan.h"

namespace agent {

/// Where in a definition a record is wrong, and how.
struct DefinitionPlace {
  int64_t line = 0;       ///< counted from 1; of the row, or of the open tag of a class without columns
  std::string className;  ///< of the node
  size_t columns = 0;     ///< that the header block names for the class
  size_t cells = 0;       ///< of the row
};

/// Reads a scan definition. A file without an "AgentScan" node gives an empty job.
/// @param place filled in where 321 or 325 is thrown
/// @throws VOXParserException 12 without a file name, 13 when the file can't be opened, 17 when it can't be
///     read, 321 for a class that the header block doesn't know
/// @throws VoxObjectCreationException 325 for a row whose length differs from its header's
std::unique_ptr<AgentScan> readScanDefinition(const std::string& fileName, DefinitionPlace& place);

}  // namespace agent
