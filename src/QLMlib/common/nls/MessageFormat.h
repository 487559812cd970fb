#pragma once

#include <string>
#include <string_view>

#include "QLMlib/common/nls/Messages.h"

namespace agent {

/// Puts inserts into the text of a catalog entry.
///
/// Conversions are those of printf with one of the letters "cdeEfgGiopsuxX"; "%2$s" names the insert by its
/// number, so that a translation may put them in any order, "%s" takes the next one. The text is read here
/// and never handed to printf: a damaged or hostile entry gives an odd text at worst. A conversion of another
/// kind
/// (%n, a width of "*") is left out with a trace, one without its insert shows as "<NULL>", and an insert of
/// another type than its conversion is shown by its own type. Widths and precisions are held at 512.
std::string insertItems(std::string_view format, const MessageInserts& inserts);

}  // namespace agent
