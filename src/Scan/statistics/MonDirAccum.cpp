#include "Scan/statistics/MonDirAccum.h"

#include <algorithm>
#include <utility>

#include "Probe/Filesystem.h"
#include "QLMlib/common/ut/Trace.h"
#include "Scan/results/ResultsByFS.h"
#include "Scan/statistics/CuStatDef.h"

namespace agent {

SMonDir& MonDirTable::add(Filesystem& filesystem) {
  directories_.push_back(std::make_unique<SMonDir>(filesystem));
  return *directories_.back();
}

void MonDirTable::complete(SMonDir& directory) {
  completed_.push_back(&directory);
}

void MonDirTable::drop(SMonDir& directory) {
  // Almost always the last one: nothing is added between the firing and the giving up.
  const auto found = std::find_if(directories_.rbegin(), directories_.rend(),
                                  [&](const auto& candidate) { return candidate.get() == &directory; });
  if (found != directories_.rend()) directories_.erase(std::next(found).base());
}

MonDirAccum::MonDirAccum(CuStatDef& definition, Filesystem& filesystem)
    : CuStatAccum("MonDirAccum"), filesystem_(filesystem), definition_(definition) {}

void MonDirAccum::activate(SMonDir& directory) {
  TRACE_SCOPE("MonDirAccum::activate()");
  directory_ = &directory;
  buildAccum(definition_, filesystem_);
}

void MonDirAccum::actUpon(Scanner& scanner, FileAttributes& attributes) {
  if (directory_ == nullptr) {
    TRACE(TR_MAX, "WARNING: No method invoked since member attribute <directory> is NULL.\n");
    return;
  }
  CuStatAccum::actUpon(scanner, attributes);
}

void MonDirAccum::directoryEntered(FileAttributes& attributes) {
  if (directory_ == nullptr) {
    TRACE(
        TR_MAX,
        "MonDirAccum::directoryEntered() : WARNING: No method invoked since member attribute <directory> or "
        "<pDirInfo> is NULL.\n");
    return;
  }
  CuStatAccum::directoryEntered(attributes);
  if (level() == 0 && directory_->smFilesystemID == SMonDir::NOT_ENTERED) {
    directory_->enterWith(attributes, filesystem_.fsID);
  }
}

void MonDirAccum::directoryLeft() {
  if (directory_ == nullptr) {
    TRACE(TR_MAX,
          "MonDirAccum::directoryLeft() : WARNING: No method invoked since member attribute <directory> is "
          "NULL.\n");
    return;
  }
  CuStatAccum::directoryLeft();
  if (level() >= 0) return;
  auto results = std::make_unique<ResultsByFS>(directory_);
  results->rfResults = takeResults();
  definition_.sdResults.prepend(std::move(results));
  releaseInodeTableMap();
  directory_ = nullptr;
}

void MonDirAccum::directoryPassedOver() {
  if (!isWaiting()) return;
  takeResults();
  directory_ = nullptr;
}

MonDirChain::MonDirChain(MonDirTable& table, Filesystem& filesystem)
    : FileAction("MonDirChain"), table_(table), filesystem_(filesystem) {}

bool MonDirChain::isActive() const {
  return directory_ != nullptr;
}

void MonDirChain::fire(const MonDirSpec& spec) {
  if (targets_.empty()) {
    TRACE(
        TR_MAX,
        "Activator::actUpon() : ERROR: The class reference <targets> of type <MonDirAccum*> is NULL. Leaving "
        "method.\n");
    return;
  }
  if (!isActive()) {
    directory_ = &table_.add(filesystem_);
    for (MonDirAccum* target : targets_) target->activate(*directory_);
  }
  directory_->smDirSpecs.push_back(&spec);
}

void MonDirChain::directoryLeft() {
  if (!isActive() || targets_.front()->directory_ != nullptr) return;
  table_.complete(*directory_);
  directory_ = nullptr;
}

void MonDirChain::directoryPassedOver() {
  if (!isActive() || targets_.front()->directory_ != nullptr) return;
  table_.drop(*directory_);
  directory_ = nullptr;
}

void Activator::actUpon(Scanner& /*scanner*/, FileAttributes& /*attributes*/) {
  targets_.fire(spec_);
}

}  // namespace agent
