#include "Common/unix/CmdExecer.h"
#include "QLMlib/common/ut/Trace.h"
#include "Scan/walk/Scanner.h"

namespace agent {

namespace {

/// The directory's name in the tool's first line of output. A name stands in the line between two equal
/// characters (a quote, a blank) and begins with a dot: what is taken runs from that dot to the next such
/// character.
std::string nameInToolOutput(const std::string& output) {
  const std::string line = output.substr(0, output.find('\n'));
  const size_t dot = line.find('.');
  if (dot == std::string::npos || dot == 0) return {};
  const size_t end = line.find(line[dot - 1], dot);
  return line.substr(dot, end == std::string::npos ? end : end - dot);
}

}  // namespace

std::string getSnapshotDirMXFS(std::string mountPoint) {
  if (mountPoint.size() > 1 && mountPoint.ends_with('/')) mountPoint.pop_back();
  std::string directory = mountPoint + "/.snapshots";
  // The mount point goes to a shell as text. Whoever may mount may choose its name: what a shell would read
  // as more than a name isn't handed to it.
  if (mountPoint.find_first_of("\"'`$\\;&|<>(){}*?[]~#!\n\t ") != std::string::npos) return directory;
  CmdExecer tool({"/bin/sh", "-c",
                  "\"/usr/mxfs/bin/mxsnapdir `mount | grep [[:space:]]" + mountPoint +
                      "[[:space:]] | awk '{print $1}'` -q\""},
                 "", "");
  if (tool.runCommand() != -1 && !tool.sysOut.empty()) {
    const std::string name = nameInToolOutput(tool.sysOut);
    if (!name.empty()) directory = mountPoint + "/" + name;
  }
  TRACE(TR_MAX, "snapshot directory for fileystem %s is %s\n", mountPoint.c_str(), directory.c_str());
  return directory;
}

}  // namespace agent
