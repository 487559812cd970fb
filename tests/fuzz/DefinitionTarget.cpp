// Input: a definition file. It is read into the job's records, and its selections compile or don't; or the
// reader says what is wrong with one of its two exceptions.

#include <sys/mman.h>
#include <unistd.h>

#include "Common/VOXParserException.h"
#include "Common/VoxObjectCreationException.h"
#include "FuzzTarget.h"
#include "Scan/ScanDefinition.h"
#include "Scan/selection/Selection.h"

namespace agent::fuzz {
namespace {

/// A file in memory, under a name.
class MemoryFile {
 public:
  MemoryFile(const uint8_t* data, size_t size) : descriptor_(memfd_create("definition", MFD_CLOEXEC)) {
    require(descriptor_ >= 0, "the host gives a file in memory");
    require(write(descriptor_, data, size) == static_cast<ssize_t>(size), "the host takes the file");
  }
  ~MemoryFile() { close(descriptor_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string name() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

void read(const std::string& fileName) {
  DefinitionPlace place;
  const auto job = readScanDefinition(fileName, place);
  Selection selection;
  for (const auto& statistic : job->getStatistics()) {
    selection.setExpression(statistic->getWhereClause());
    selection.compile(statistic->displayName(), 0);
  }
}

}  // namespace
}  // namespace agent::fuzz

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const agent::fuzz::MemoryFile file(data, size);
  try {
    agent::fuzz::read(file.name());
  } catch (const agent::VOXParserException&) {
  } catch (const agent::VoxObjectCreationException&) {
  }
  return 0;
}
