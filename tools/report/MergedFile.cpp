#include "report/MergedFile.h"

#include <filesystem>
#include <ostream>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "Common/GenericPrint.h"
#include "Common/SafeText.h"
#include "Common/VOXIOException.h"
#include "figures/ResultFile.h"
#include "merge/ResultMerge.h"
#include "merge/ResultPrint.h"
#include "report/ReplacedFile.h"

namespace agent::tools {

namespace {

std::vector<SliceResult> read(const std::vector<std::string>& results) {
  std::vector<SliceResult> slices;
  for (const std::string& name : results) {
    try {
      slices.push_back({name, readResultFile(name)});
    } catch (const ResultFileError& error) {
      throw ResultFileError(inQuotes(name) + ": " + error.what());
    }
  }
  return slices;
}

}  // namespace

void writeMerged(const std::vector<std::string>& results, const std::string& output, std::ostream& err) {
  const MergedResult merged = mergeResults(read(results));
  for (const std::string& note : merged.notes) err << "scanreport: " << note << "\n";
  try {
    NewFile file(output);
    GenericPrint print(GenericPrint::VOX_FORMAT, file.name());
    printResult(print, merged.nodes);
    print.closeFile();
    file.rename(Readers::AS_USUAL);
  } catch (const VOXIOException& error) {
    throw ResultFileError(inQuotes(output) + " stays as it is: " + error.getCause());
  } catch (const std::runtime_error& error) {
    throw ResultFileError(inQuotes(output) + " stays as it is: " + error.what());
  }
}

}  // namespace agent::tools
