#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "QLMlib/common/unx/OwnedDescriptor.h"

namespace agent {

/// How large a trace may become. The unit is a parameter so that a test need not write gigabytes.
struct TraceLimit {
  uint64_t maxMB = 0;         // 0: no limit, the file only grows
  uint64_t segmentMB = 1000;  // a limit above this is spread over several files
  uint64_t bytesPerMB = uint64_t{1024} * 1024;
};

/// The file that trace records go to. The owner serialises the calls.
///
/// With a limit the file is a ring:
///
///     0            12           24                                    wrapStart         nextWrite
///     NRV Trace    <nextWrite>  <maxMB> <product> <build date> \n\n   | records ...     | END OF DATA ...
///
/// Numbers are decimal, left-justified in 12 and 10 columns; a new file holds 123456789012 in place of
/// nextWrite until the first record is in, so that a file that was never written to is not taken for a ring.
/// The end mark behind the last record is overwritten by the next one. Once a record no longer fits, a mark
/// says so and writing goes on at wrapStart: the records behind nextWrite are then the oldest. The mark may
/// stand up to 16 bytes beyond the limit.
///
/// A limit above segmentMB is spread over several such files: the first bears the given name, number n has
/// ".n" in front of its extension ("scan_000001.2.trace"), so that old ones are purged with their trace. The
/// last is as long as the rest of the limit. They are filled in turn, each made anew when its turn comes,
/// and after the last comes the first. What an earlier run left in them is removed at open.
///
/// STDOUT, STDERR and CONSOLE (standard output) are streams without any of this, and a file without a limit
/// only grows: for a person who looks at a program at a terminal. The job's trace always is a ring.
class TraceOutput {
 public:
  /// Opens, keeping the ring of an earlier run where it is sound and within the limit.
  /// @return 0, or 426 if the file can't be opened
  int open(const std::string& name, const TraceLimit& limit);

  /// Puts one record, in full or cut to what the whole ring holds.
  /// @return false if the system refused a write; the output is closed then
  bool write(std::string_view record);

  /// Puts the closing mark and closes.
  /// @return 0 or errno of the failure
  int close();

  /// Removes the segments behind the first of the trace that bears the name.
  static void removeFurtherSegments(const std::string& name);

  bool isOpen() const { return descriptor_.get() != -1; }
  bool isStream() const { return stream_; }
  const std::string& name() const { return name_; }

 private:
  bool openSegment(uint64_t segment);
  bool keepRing();
  bool startRing();
  bool startPlain();
  bool makeRoom(size_t size);
  bool put(std::string_view text, std::string_view endMark);
  bool storeNextWrite();
  std::string headerLine() const;
  uint64_t segmentCount() const;
  uint64_t segmentBytes() const;
  bool giveUp();

  std::string name_;
  TraceLimit limit_;
  OwnedDescriptor descriptor_;
  bool stream_ = false;
  uint64_t segment_ = 1;
  uint64_t wrapStart_ = 0;
  uint64_t nextWrite_ = 0;
};

}  // namespace agent
