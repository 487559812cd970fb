// Input: one of the files that the job or its reader finds, as anybody may have left it there, or its
// arguments, one on a line. It is read or refused, and what comes next works all the same. FUZZED says which.

#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <string_view>
#include <vector>

#include "Common/CmdArgs.h"
#include "Common/resource.h"
#include "FuzzTarget.h"
#include "Probe/Filesystem.h"
#include "Probe/MountsMap.h"
#include "QLMlib/common/nls/MessageCatalogs.h"
#include "QLMlib/common/nls/Messages.h"
#include "QLMlib/common/ut/LogFile.h"
#include "QLMlib/common/ut/Trace.h"
#include "QLMlib/common/ut/TraceFile.h"
#include "report/ScanreportCommand.h"
#include "support/RefusedCalls.h"
#include "support/TemporaryDirectory.h"

namespace agent::fuzz {
namespace {

const test::TemporaryDirectory& directory() {
  static const test::TemporaryDirectory DIRECTORY;
  return DIRECTORY;
}

/// The notes of starts hold the same bytes.
[[maybe_unused]] void resourceFile(const std::string& bytes) {
  const std::vector<std::string> names = {"scan_1", "scan_2"};
  directory().file("log/vox_scan_res.starts", bytes);
  directory().file("log/vox_scan_res", bytes);
  const LockOutcome outcome = lockResources(names, SCAN_RESOURCES, directory().path());
  require(outcome.result != -1, "a file of any content can be worked on");
  const std::vector<std::string> taken(names.begin(), names.begin() + static_cast<ptrdiff_t>(outcome.taken));
  require(unlockResources(taken, SCAN_RESOURCES, directory().path()) != -1, "and again");
}

[[maybe_unused]] void traceFile(const std::string& bytes) {
  const std::string file = directory().file("trace", bytes);
  require(initializeTrace(file, "MIN", 1) == 0, "a trace takes a file of any content over");
  TRACE(TR_MIN, "a line\n");
  closeTrace();
}

/// Pruned by age, and one that wraps over itself.
[[maybe_unused]] void logFile(const std::string& bytes) {
  for (const uint32_t wrapSize : {0U, 4096U}) {
    LogFile log({.path = directory().file("log", bytes), .wrapSize = wrapSize, .retentionDays = 30});
    require(log.open() == 0, "a log of any content is opened");
    require(log.write("11/25/2026 10:11:12.131 a line\n") == 0, "and goes on");
    log.close();
  }
}

[[maybe_unused]] void catalog(const std::string& bytes) {
  directory().file("en_US/nrvna.cat", bytes);
  if (initializeMessages("nrvna.cat", directory().path(), 0, 0, 0) == 0) {
    for (uint32_t number = 0; number < 40; ++number) {
      formatMessage({number, "STA0001E"}, {"text", int64_t{-1}, uint64_t{7}, 1.5});
    }
  }
  closeMessages();
}

/// The table, and every mount of it as an image of this content.
[[maybe_unused]] void mountTable(const std::string& bytes) {
  const std::string file = directory().file("table", bytes);
  Mounts table(file, directory() / "absent");
  MountsMap mounts;
  makeMountsMap(mounts, false, table);
  for (auto& [key, mount] : mounts) {
    require(!mount.mntPt.empty() || !mount.filesystem.empty(), "a mount has a name");
    mount.filesystem = file;
    Filesystem filesystem;
    GetPhysicalSize(filesystem, mount);
  }
}

[[maybe_unused]] void commandLine(const std::string& bytes) {
  std::vector<std::string> words = {directory() / "bin/scan"};
  std::istringstream lines(bytes);
  for (std::string line; std::getline(lines, line);) words.push_back(line.substr(0, line.find('\0')));
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  // The descriptors of -agentcom, which are closed or filled, may be the fuzzer's own.
  test::RefusedCalls calls;
  calls.replace<&test::Calls::close>([](int descriptor) { return descriptor > 2 ? ::close(descriptor) : 0; });
  calls.replace<&test::Calls::dup2>([](int, int target) { return target; });
  CmdArgs args(static_cast<int>(words.size()), arguments.data(), CmdArgs::SCAN_PROGRAM);
  const int code = args.parse();
  require(code == 0 || code == CmdArgs::BAD_COMMAND || code == CmdArgs::BAD_OPTION ||
              code == CmdArgs::MISSING_VALUE || code == CmdArgs::NO_INSTALL_LOCATION,
          "a code of the table");
  require(code != 0 || args.resultFile.starts_with(directory() / "output/"), "the result stays in its place");
}

[[maybe_unused]] void result(const std::string& bytes) {
  const std::string file = directory().file("result", bytes);
  // The same of a directory below each mount point, which ends in a slash.
  std::string below = bytes;
  for (size_t at = 0; (at = below.find("/\",", at)) != std::string::npos; at += 8) below.insert(at, "/below");
  const std::string slice = directory().file("slice", below), joined = directory() / "joined";
  for (const std::vector<std::string>& arguments : {std::vector{file},
                                                    {"--json", file},
                                                    {"--details", "--sort", "entries", file},
                                                    {"--alert", "orphans>1", "--against", file, file},
                                                    {"--csv=statistic", file},
                                                    {"--prometheus=-", file},
                                                    {"--merge", "-o", joined, file, slice}}) {
    std::ostringstream out, err;
    const int code = tools::scanreport(arguments, out, err, {});
    require(code == 0 || code == 1 || code == 3, "shown, or said to be no whole result");
    require(code == 0 || !err.str().empty() || !out.str().empty(), "and why");
  }
}

}  // namespace
}  // namespace agent::fuzz

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  agent::fuzz::FUZZED(agent::fuzz::textOf(data, size));
  return 0;
}
