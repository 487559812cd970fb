#pragma once

#include "Scan/statistics/Accumulator.h"

namespace agent {

class SSummary;

/// Totals of a whole walk.
class SummaryAccum : public Accumulator {
 public:
  /// @param summary the record to fill; already hangs in the results, which own it
  explicit SummaryAccum(SSummary& summary) : Accumulator("SummaryAccum"), summary_(summary) {}

  void accumulate(Scanner& scanner, FileAttributes& attributes) override;
  void finish(CuStatResults& /*results*/) override {}

 private:
  SSummary& summary_;
};

}  // namespace agent
