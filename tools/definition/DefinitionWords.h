#pragma once

#include <string>

#include "definition/ScandefDefinition.h"

namespace agent::scandef {

/// What a scan with this definition does, in words: what it reads, what it counts, over which entries.
std::string inWords(const Definition& definition);

}  // namespace agent::scandef
