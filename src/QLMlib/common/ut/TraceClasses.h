#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <string_view>

#include "QLMlib/common/ut/Trace.h"

namespace agent {

/// A trace class as the words of a flag text name it.
struct TraceClass {
  const char* name;
  TraceFlag* flag;
  bool turnsTracingOn;  // false for the classes that only shape a line
};

/// A word that stands for several classes or further aggregates.
struct TraceAggregate {
  const char* name;
  const char* words;
};

/// A switch of the runtime's own tests. This job sets none, so all keep their default of off.
struct TestFlag {
  std::atomic<bool> on{false};
  std::atomic<int32_t> value{0};
  explicit operator bool() const { return on.load(std::memory_order_relaxed); }
};

extern TestFlag TEST_AUDITLOGRC;     // its value replaces the return code of message 250
extern TestFlag TEST_CLC_TIMESTAMP;  // date and time in front of messages on standard output

/// All classes of this library.
std::span<const TraceClass> ClassTable();

/// The job's classes, NA_MIN to NA_EXIT, and the three debug words made of them.
std::span<const TraceClass> naTrcClassTable();
std::span<const TraceAggregate> naAgrClassTable();

/// Turns all class flags and test flags off.
void clearTraceFlags();

/// Sets flags from a blank-separated text. A word with "-" in front turns its classes off, "ALL" names every
/// class of the table but TIMESTAMP and PREFIX.
/// @param silent prints nothing about an unknown word
/// @return 0, or -1 at the first word that neither table knows; the words before it have been applied
int parseTraceFlags(std::string_view words, std::span<const TraceClass> classes,
                    std::span<const TraceAggregate> aggregates, bool silent);

}  // namespace agent
