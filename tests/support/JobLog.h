#pragma once

#include <sstream>
#include <vector>

#include "Common/LogManager.h"
#include "QLMlib/common/nls/MessageCatalogs.h"
#include "support/TemporaryDirectory.h"

namespace agent::test {

/// A job log for one test, with the real catalogs: naLog points at it while it lives.
class JobLog {
 public:
  JobLog() : log_(directory_ / "job.log") {
    initializeMessages("nrvna.cat", SCAN_NLS_DIRECTORY, 1, 1, 0);
    naLog = &log_;
  }
  ~JobLog() {
    naLog = nullptr;
    closeMessages();
  }

  /// The lines so far, each without its date and time.
  std::vector<std::string> lines() const {
    std::vector<std::string> lines;
    std::istringstream text(content(directory_ / "job.log"));
    constexpr size_t STAMP = sizeof "03/25/2014 10:15:02.123";
    for (std::string line; std::getline(text, line);) {
      lines.push_back(line.size() > STAMP ? line.substr(STAMP) : line);
    }
    return lines;
  }

 private:
  TemporaryDirectory directory_;
  LogManager log_;
};

}  // namespace agent::test
