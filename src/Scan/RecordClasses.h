#pragma once

#include <string_view>
#include <vector>

#include "Common/RecordTable.h"

namespace agent {

/// One record class of the two file formats.
struct RecordClass {
  RecordDescription record;
  bool inDefinition;  ///< definitions have nodes of it, or columns for it
  bool inResult;      ///< likewise results
};

/// All record classes, as docs/file-formats.md goes through them.
const std::vector<RecordClass>& recordClasses();

}  // namespace agent
