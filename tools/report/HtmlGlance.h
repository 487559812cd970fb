#pragma once

#include <cstddef>

#include "figures/Figures.h"
#include "report/HtmlParts.h"

namespace agent::tools {

/// What everybody wants to know of a file system first, as one card of a page. Shares are of what that
/// statistic has counted which has counted most.
/// @param index of the file system, whose section has the id "f" and this
void printGlance(HtmlParts& parts, const FilesystemFigures& filesystem, size_t index);

}  // namespace agent::tools
