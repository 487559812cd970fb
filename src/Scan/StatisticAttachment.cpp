#include "Scan/StatisticAttachment.h"

#include <memory>
#include <string>
#include <utility>

#include "Common/JobMessages.h"
#include "Common/LogManager.h"
#include "Common/VOXCommon/CommonAgentFactory.h"
#include "Probe/Filesystem.h"

namespace agent {

namespace {

void newFSAssoc(FSRef& fsRef, StatisticTree& tree, ResultsByFS& results) {
  fsRef.assocs.push_back({&tree, &results});
  if (tree.definition->sdType == CuStatDef::FILESYSTEM_STATISTIC) fsRef.ownResults = &results;
}

/// Keeps the results whose file system is part of this job, and drops the others.
void attachRestricted(CuStatDef& definition, StatisticTree& tree, ScanPlan& plan) {
  definition.sdResults.keep([&](ResultsByFS& results) {
    const Filesystem* source = results.sourceFilesystem();
    const auto found = source != nullptr ? plan.fsRefsById.find(source->fsID) : plan.fsRefsById.end();
    if (found == plan.fsRefsById.end()) return false;
    newFSAssoc(*found->second, tree, results);
    return true;
  });
  if (definition.sdResults.empty()) plan.withoutFilesystem.push_back(&definition);
}

void attachToAll(CuStatDef& definition, StatisticTree& tree, ScanPlan& plan) {
  definition.sdResults.clear();
  for (const auto& fsRef : plan.fsRefs) {
    newFSAssoc(*fsRef, tree, definition.sdResults.append(std::make_unique<ResultsByFS>(fsRef->filesystem)));
  }
}

/// @return false when the selection doesn't compile
bool attachStatistic(CuStatDef& definition, Selection& selection, ScanPlan& plan) {
  selection.setExpression(definition.getWhereClause());
  if (!selection.compile(definition.sdCreator + "." + definition.sdName, 0)) return false;
  plan.trees.push_back(std::make_unique<StatisticTree>(StatisticTree{selection.takeRoot(), &definition}));
  StatisticTree& tree = *plan.trees.back();
  if (definition.sdType == CuStatDef::RESTRICTED_STATISTIC) {
    attachRestricted(definition, tree, plan);
  } else {
    attachToAll(definition, tree, plan);
  }
  return true;
}

}  // namespace

void attachStatistics(const StatisticList& statistics, Selection& selection, ScanPlan& plan) {
  std::string names;
  for (const auto& definition : statistics) {
    // Only agents of another platform mark files that want a backup.
    if (!CommonAgentFactory::getCommonAgent().isWindows) definition->sdGroupByBackup = false;
    if (definition->sdType == CuStatDef::DIRECTORY_STATISTIC) continue;
    if (!attachStatistic(*definition, selection, plan)) plan.givenUp = true;
    if (definition->sdType != CuStatDef::FILESYSTEM_STATISTIC) {
      names += "\n" + LIST_INDENT + definition->displayName();
    }
    definition->setWhereClause("");
  }
  if (!names.empty() && naLog != nullptr) naLog->logList(messages::STATISTICS, names);
}

}  // namespace agent
