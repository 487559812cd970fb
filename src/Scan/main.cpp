// The scan job of a storage agent: one run from a definition file to a result file.
//
//   main -> ExecScan            one run, from arguments to exit code           Scan/ExecScan
//             CmdArgs           the command line and all paths                 Common/CmdArgs
//             readScanDefinition   the definition, as an AgentScan             Scan/ScanDefinition
//               ParserAPI          its grammar                                 Common/ParserAPI
//             lockResource      other scans stay away                          Common/resource
//             FilesystemScan    which file systems, which statistics           Scan/FilesystemScan
//               Mounts             what is mounted, and its figures            Probe/Mounts
//               Selection          which entries count                         Scan/selection
//               ScannerUnix        one walk                                    Scan/walk, Scan/unix
//                 CuStatAccum         one statistic while the walk lasts       Scan/statistics
//               CuStatResults      what it found                               Scan/results
//               GenericPrint       the result file                             Common/GenericPrint
//             notifyAgent       how the job ended                              Common/AgentNotification
//
// Everywhere: job log (Common/LogManager), message texts (QLMlib/common/nls), trace (QLMlib/common/ut).
// docs/architecture.md follows one run and one directory entry through these rooms.

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <exception>
#include <utility>

#include "Common/unix/pssignal.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "Scan/ExecScan.h"

namespace agent {
namespace {

/// Whoever started the job may have closed its standard descriptors. Files opened later would then take their
/// numbers, and a message for the terminal would end up in a result.
void fillStandardDescriptors() {
  int descriptor = 0;
  while (descriptor >= 0 && descriptor <= STDERR_FILENO) descriptor = sys.open("/dev/null", O_RDWR, 0);
  if (descriptor > STDERR_FILENO) sys.close(descriptor);
}

/// A walk holds a descriptor for each level, two hundred at most, and the log needs one at any time.
void raiseDescriptorLimit() {
  constexpr rlim_t WANTED = 1024;
  rlimit limit = {};
  if (sys.getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= WANTED) return;
  limit.rlim_cur = limit.rlim_max < WANTED ? limit.rlim_max : WANTED;
  sys.setrlimit(RLIMIT_NOFILE, &limit);
}

/// The running job, for the handler below, to which nothing can be handed.
ExecScan* runningJob = nullptr;

/// What can't even be thrown (an exception needs memory too), or is thrown where nothing may be: the job ends
/// with its code and leaves nothing half done, instead of a core.
[[noreturn]] void endInstead() {
  int code = ExecScan::UNFORESEEN;
  // Once: a second failure on the way finds nobody to ask.
  if (ExecScan* const job = std::exchange(runningJob, nullptr))
    code = job->endUnforeseen("no memory is left");
  _exit(code);
}

}  // namespace
}  // namespace agent

int main(int argc, char** argv) {
  std::set_terminate(agent::endInstead);
  agent::fillStandardDescriptors();
  agent::ignoreSignalsOfWriting();
  agent::raiseDescriptorLimit();
  agent::ExecScan job;
  agent::runningJob = &job;
  return job.startScan(argc, argv);
}
