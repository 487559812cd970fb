#pragma once

#include <string>

#include "Probe/Filesystem.h"
#include "Probe/MountsMap.h"
#include "Scan/ScanPlan.h"

namespace agent {

/// Orders file systems so that those of one domain and of one filer stand together, behind all local ones;
/// each filer's in reverse order.
FilesystemList arrangeFilesystems(FilesystemList filesystems);

/// Orders file systems by rising id.
void sortFilesystemsByID(FilesystemList& filesystems);

/// The mount point, and the filer in parentheses where there is one.
std::string qualifiedFSName(const Filesystem& filesystem);

/// Pairs the wanted file systems with mounts and reads their figures: an FSRef for each that is there. One
/// that isn't is logged (STA0103W) and given up.
/// @param nfsTimeout limit of a file system's calls in seconds; 0 or less means none
void findFilesystems(const FilesystemList& filesystems, const MountsMap& mounts, int nfsTimeout,
                     ScanPlan& plan);

}  // namespace agent
