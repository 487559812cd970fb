#pragma once

#include "Common/Object.h"
#include "Scan/AgentScan.h"

namespace agent {

class FileAction;
class GenericPrint;

/// Turns a job into walks: finds each wanted file system among the host's mounts, ties every statistic and
/// monitored directory to the file systems that they concern, walks one file system after the other, and
/// writes each one's results as soon as its walk has ended. Its steps stand in files of their own; what they
/// hand on is the ScanPlan.
class FilesystemScan : public Object {
 public:
  // Codes of doScan.
  static constexpr int CLEAN = 0;
  static constexpr int GIVEN_UP = 4;  ///< a file system, a statistic or a directory was

  FilesystemScan() : Object("FilesystemScan") {}

  /// Where results go; set before doScan, borrowed.
  void setGenericPrint(GenericPrint& genericPrint) { genericPrint_ = &genericPrint; }

  /// An action that is offered every entry of every walk, whatever the statistics select; borrowed.
  void setObserver(FileAction& observer) { observer_ = &observer; }

  /// The whole scan; once for each object.
  /// @param nfsTimeout limit of a file system's calls in seconds; 0 or less means none
  /// @return CLEAN or GIVEN_UP
  /// @throws ScanAbortException when the job was told to stop
  /// @throws VOXIOException when results can't be written
  int doScan(AgentScan& scanObject, int nfsTimeout);

 private:
  GenericPrint* genericPrint_ = nullptr;
  FileAction* observer_ = nullptr;
};

}  // namespace agent
