#pragma once

#include "Scan/statistics/Accumulator.h"

namespace agent {

class SSizeDist;

/// Entries of every type by size.
class SizeDistAccum : public Accumulator {
 public:
  /// @param distribution the record to fill; already hangs in the results, which own it
  explicit SizeDistAccum(SSizeDist& distribution)
      : Accumulator("SizeDistAccum"), distribution_(distribution) {}

  void accumulate(Scanner& scanner, FileAttributes& attributes) override;
  void finish(CuStatResults& /*results*/) override {}

 private:
  SSizeDist& distribution_;
};

}  // namespace agent
