#pragma once

#include <span>

#include "Scan/ScanPlan.h"
#include "Scan/statistics/CuStatDef.h"

namespace agent {

class GenericPrint;
class SMonDir;

/// Completes the summary of a file system's own statistic, which shows its space. Without one the server
/// can't keep the file system's history.
/// @return false when there is none
bool updateOwnSummary(const FSRef& fsRef);

/// Writes one file system's part of the result file: its record, its monitored directories, its statistics,
/// the statistics of its directories.
/// @param monDirs the directories that its walk has completed
/// @throws VOXIOException when it can't be written
void printResults(const ScanPlan& plan, const FSRef& fsRef, std::span<SMonDir* const> monDirs,
                  GenericPrint& print);

/// Forgets the results of a file system whose walk failed. A statistic that has no others is forgotten with
/// them; a directory statistic stays, for it has results only where directories are met.
void removeReferencesTo(const Filesystem& filesystem, StatisticList& statistics);

}  // namespace agent
