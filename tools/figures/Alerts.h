#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "figures/Comparison.h"
#include "figures/Figures.h"

namespace agent::tools {

/// A limit that can't be followed; the text says what was expected.
class AlertError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A limit that somebody watches: "owner>10G", "fs>90%".
struct Alert {
  enum class Subject { FILESYSTEM, INODES, OWNER, GROUP, TYPE, DIRECTORY, ORPHANS, GROWTH };

  std::string text;  ///< as it was given
  Subject subject = Subject::FILESYSTEM;
  double limit = 0;
  bool isShare = false;  ///< the limit is in percent, otherwise in bytes (of INODES: a number)
};

/// @param text SUBJECT>LIMIT; the limit in bytes with K, M, G or T behind, or in percent
/// @throws AlertError
Alert alertOf(const std::string& text);

/// What has passed the limit, a sentence for each: what it is, how much, where.
/// @param comparison for GROWTH; null where there is no older result
std::vector<std::string> passed(const Alert& alert, const Figures& figures, const Comparison* comparison);

}  // namespace agent::tools
