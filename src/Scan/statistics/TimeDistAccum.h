#pragma once

#include <array>
#include <cstdint>

#include "Scan/results/STimeDist.h"
#include "Scan/statistics/Accumulator.h"

namespace agent {

/// Entries by the age of one of their times. Subclasses say which.
class TimeDistAccum : public Accumulator {
 public:
  static constexpr int64_t DAY = 86400;  ///< seconds

  /// Upper limits of ages, inclusive, in seconds: 1, 7, 30, 60, 90, 180, 270 and 365.25 days. Bucket 8 holds
  /// what is older, bucket 9 what lies more than a day in the future. The server knows them: part of the
  /// format.
  static constexpr std::array<int32_t, 8> m_rangesArray = {86400,   604800,   2592000,  5184000,
                                                           7776000, 15552000, 23328000, 31557600};

  void accumulate(Scanner& scanner, FileAttributes& attributes) override;
  /// Completes the average, truncating.
  void finish(CuStatResults& results) override;

  /// The time that is aged, in milliseconds since the epoch.
  virtual int64_t time(const FileAttributes& attributes) const = 0;

 protected:
  /// @param distribution the record to fill; already hangs in the results, which own it
  TimeDistAccum(const char* className, STimeDist& distribution, int16_t type)
      : Accumulator(className), distribution_(distribution) {
    distribution_.tdType = type;
  }

 private:
  STimeDist& distribution_;
  int64_t count_ = 0;      // files aged
  int64_t sumOfAges_ = 0;  // seconds
};

class AccessedDistAccum : public TimeDistAccum {
 public:
  explicit AccessedDistAccum(STimeDist& distribution)
      : TimeDistAccum("AccessedDistAccum", distribution, STimeDist::ACCESSED) {}
  int64_t time(const FileAttributes& attributes) const override;
};

class ModifiedDistAccum : public TimeDistAccum {
 public:
  explicit ModifiedDistAccum(STimeDist& distribution)
      : TimeDistAccum("ModifiedDistAccum", distribution, STimeDist::MODIFIED) {}
  int64_t time(const FileAttributes& attributes) const override;
};

}  // namespace agent
