#include "Scan/RecordClasses.h"

#include "Common/VOXCommon/LdapTree.h"
#include "Probe/Domain.h"
#include "Probe/Filesystem.h"
#include "Probe/NasFiler.h"
#include "Scan/AgentScan.h"
#include "Scan/identity/UserOrGroup.h"
#include "Scan/results/CuStatResults.h"
#include "Scan/results/FileType.h"
#include "Scan/results/ResultsByFS.h"
#include "Scan/results/SMonDir.h"
#include "Scan/statistics/BackupAction.h"
#include "Scan/statistics/FileScoreRule.h"

namespace agent {

const std::vector<RecordClass>& recordClasses() {
  constexpr bool YES = true;
  constexpr bool NO = false;
  // The class, in definitions, in results.
  static const std::vector<RecordClass> CLASSES = {
      {AgentScan::table().describe(), YES, YES},      {Filesystem::table().describe(), YES, YES},
      {NasFiler::table().describe(), YES, NO},        {Domain::table().describe(), YES, YES},
      {LdapTree::table().describe(), YES, YES},       {MonDirSpec::table().describe(), YES, YES},
      {CuStatDef::table().describe(), YES, YES},      {ResultsByFS::table().describe(), YES, YES},
      {CuStatResults::table().describe(), NO, YES},   {FileAttributes::table().describe(), NO, YES},
      {SDirectory::table().describe(), NO, YES},      {SFile::table().describe(), NO, YES},
      {FileTypeSummary::table().describe(), NO, YES}, {FileType::table().describe(), NO, YES},
      {SSummaryHist::table().describe(), NO, YES},    {SSummary::table().describe(), NO, YES},
      {SSizeDist::table().describe(), NO, YES},       {SUGHist::table().describe(), NO, YES},
      {SUserOrGroup::table().describe(), NO, YES},    {UserOrGroup::table().describe(), NO, YES},
      {STimeDist::table().describe(), NO, YES},       {SMonDir::table().describe(), NO, YES},
      {FileScoreRule::table().describe(), NO, YES},   {SFileCandidate::table().describe(), NO, YES},
      {BackupAction::table().describe(), NO, NO}};
  return CLASSES;
}

}  // namespace agent
