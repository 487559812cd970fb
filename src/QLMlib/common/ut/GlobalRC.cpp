#include "QLMlib/common/ut/GlobalRC.h"

#include <algorithm>
#include <array>

#include "QLMlib/common/ut/Trace.h"
#include "QLMlib/common/ut/TraceClasses.h"

namespace agent {
namespace {

constexpr int32_t WARNING = 4;
constexpr int32_t SEVERE_WARNING = 8;
constexpr int32_t ERROR = 12;

constexpr uint32_t AUDIT_LOG_MESSAGE = 250;
constexpr uint32_t INTERNAL_ERROR_MESSAGE = 263;

/// Messages that count 4 whatever severity the catalog gives them.
bool isFixedWarning(uint32_t msgNum) {
  static constexpr std::array<uint32_t, 34> NUMBERS{
      201, 202, 203, 204, 206, 207, 208, 209, 210, 212, 214, 215, 218, 219, 220, 221, 222,
      223, 230, 235, 249, 251, 252, 253, 254, 255, 256, 257, 258, 259, 260, 261, 262, 266};
  return std::find(NUMBERS.begin(), NUMBERS.end(), msgNum) != NUMBERS.end();
}

int32_t returnCodeOfSeverity(uint8_t severity) {
  // Z, T, R, K, I, W, E, S, L, 9. K counts with the errors, above W: that is no slip.
  static constexpr std::array<int32_t, 10> CODES{0, 0, 0, ERROR, 0, SEVERE_WARNING, ERROR, ERROR, 0, 0};
  return severity < CODES.size() ? CODES[severity] : 0;
}

}  // namespace

GlobalRC* GlobalRC::instanceP = nullptr;
GlobalRC* gRC = nullptr;

GlobalRC* GlobalRC::getInstance() {
  if (instanceP == nullptr) instanceP = new GlobalRC;
  return instanceP;
}

GlobalRC::GlobalRC() : mutex_(pkCreateMutex()) {}

GlobalRC::~GlobalRC() {
  instanceP = nullptr;
}

bool GlobalRC::set(uint32_t msgNum) {
  MutexLock lock(mutex_);
  if (!acquired(lock)) return false;
  TRACE(TR_EXTRC_DETAIL, "msgNum = %u.\n", msgNum);
  traceFields("Before");
  const int32_t msgRC = returnCodeOf(msgNum);
  TRACE(TR_EXTRC_DETAIL, "msgRC = %d.\n", msgRC);
  const bool raised = raise(msgNum, msgRC);
  traceFields("After");
  return released(lock) && raised;
}

int32_t GlobalRC::returnCodeOf(uint32_t msgNum) const {
  if (isFixedWarning(msgNum)) return WARNING;
  if (msgNum == INTERNAL_ERROR_MESSAGE) return ERROR;
  if (msgNum == AUDIT_LOG_MESSAGE) {
    if (!TEST_AUDITLOGRC) return ERROR;
    return TEST_AUDITLOGRC.value >= 1 ? TEST_AUDITLOGRC.value.load() : SEVERE_WARNING;
  }
  return services_.severity == nullptr ? 0 : returnCodeOfSeverity(services_.severity(msgNum));
}

bool GlobalRC::raise(uint32_t msgNum, int32_t msgRC) {
  if (msgRC <= rc) return false;
  TRACE(TR_EXTRC, "msgNum = %u changed the Global RC.\n", msgNum);
  TRACE(TR_EXTRC, "Old values: rc = %d, rcMacroMax = %d, rcMax = %d.\n", rc, rcMacroMax, rcMax);
  rc = msgRC;
  rcMacroMax = std::max(rcMacroMax, rc);
  rcMax = std::max(rcMax, rcMacroMax);
  TRACE(TR_EXTRC, "New values: rc = %d, rcMacroMax = %d, rcMax = %d.\n", rc, rcMacroMax, rcMax);
  return true;
}

void GlobalRC::traceFields(const char* when) const {
  TRACE(TR_EXTRC_DETAIL, "%s processing, rc = %d, rcMacroMax = %d, rcMax = %d.\n", when, rc, rcMacroMax,
        rcMax);
}

bool GlobalRC::acquired(const MutexLock& lock) const {
  if (!lock.held()) reportFailure("Unable to acquire global rc mutex\n");
  return lock.held();
}

bool GlobalRC::released(MutexLock& lock) const {
  const bool done = lock.release() == 0;
  if (!done) reportFailure("Unable to release global rc mutex\n");
  return done;
}

void GlobalRC::reportFailure(const char* text) const {
  TRACE(TR_EXTRC, "%s", text);
  if (services_.internalError != nullptr) services_.internalError(__FILE__, __LINE__, text);
}

/// Does `work` under the mutex; where that can't be had the failure is reported and the work done all the
/// same.
template <typename Work>
auto GlobalRC::underMutex(const char* operation, Work work) {
  TRACE(TR_EXTRC_DETAIL, "GlobalrC::%s() entry.\n", operation);
  MutexLock lock(mutex_);
  acquired(lock);
  const auto result = work();
  released(lock);
  TRACE(TR_EXTRC_DETAIL, "GlobalrC::%s() exit.\n", operation);
  return result;
}

int32_t GlobalRC::get() {
  return underMutex("get", [this] { return rc; });
}

int32_t GlobalRC::getMacroMax() {
  return underMutex("getMacroMax", [this] { return rcMacroMax; });
}

int32_t GlobalRC::getMax() {
  return underMutex("getMax", [this] { return rcMax; });
}

bool GlobalRC::clearRC() {
  return underMutex("clearRC", [this] {
    rc = 0;
    return true;
  });
}

bool GlobalRC::clearMacroRC() {
  return underMutex("clearMacroRC", [this] {
    rc = rcMacroMax = 0;
    return true;
  });
}

bool GlobalRC::clearAllRC() {
  return underMutex("clearAllRC", [this] {
    rc = rcMacroMax = rcMax = 0;
    return true;
  });
}

}  // namespace agent
