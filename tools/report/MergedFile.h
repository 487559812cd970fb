#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace agent::tools {

/// Joins the results of slices to one result file, see mergeResults; a file of that name is replaced as a
/// whole, or stays as it is.
/// @param results the files, in the order of the slices
/// @param err where it is said what may differ from the result of a single walk
/// @throws ResultFileError with everything to be said about why nothing was written
void writeMerged(const std::vector<std::string>& results, const std::string& output, std::ostream& err);

}  // namespace agent::tools
