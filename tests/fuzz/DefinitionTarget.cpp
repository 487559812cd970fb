// Input: a definition file. It is read into the job's records, and its selections compile or don't; or the
// reader says what is wrong with one of its two exceptions.

#include "Common/VOXParserException.h"
#include "Common/VoxObjectCreationException.h"
#include "FuzzTarget.h"
#include "Scan/ScanDefinition.h"
#include "Scan/selection/Selection.h"
#include "support/TemporaryDirectory.h"

namespace agent::fuzz {
namespace {

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
  static const agent::test::TemporaryDirectory DIRECTORY;
  const std::string file = DIRECTORY.file("definition", agent::fuzz::textOf(data, size));
  try {
    agent::fuzz::read(file);
  } catch (const agent::VOXParserException&) {
  } catch (const agent::VoxObjectCreationException&) {
  }
  return 0;
}
