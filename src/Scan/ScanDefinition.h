#pragma once

#include <memory>
#include <string>

#include "Scan/AgentScan.h"

namespace agent {

/// Reads a scan definition. A file without an "AgentScan" node gives an empty job.
/// @param place set to the node that is being read, "class "Filesystem" in line 12": where a failure lies
/// @throws VOXParserException 12 without a file name, 13 when the file can't be opened, 17 when it can't be
///     read, 321 for a class that the header block doesn't know
/// @throws VoxObjectCreationException 325 for a row whose length differs from its header's
std::unique_ptr<AgentScan> readScanDefinition(const std::string& fileName, std::string& place);

}  // namespace agent
