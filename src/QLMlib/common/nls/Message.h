#pragma once

#include <cstdint>
#include <string_view>

namespace agent {

/// A message as the program knows it.
struct Message {
  uint32_t number;              ///< under which catalogs hold its text
  std::string_view identifier;  ///< "STA0139W": its family decides which catalog is asked, its last letter is
                                ///< the severity
};

}  // namespace agent
