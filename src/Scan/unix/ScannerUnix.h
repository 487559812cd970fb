#pragma once

#include "Scan/unix/DirectoryCalls.h"
#include "Scan/walk/Scanner.h"

namespace agent {

/// The walker of this platform: stats entries relative to their open directory.
class ScannerUnix final : public Scanner {
 public:
  ScannerUnix(const Setup& setup, DirectoryCalls& calls) : Scanner(setup), calls_(calls) {}

  bool Stat(fileInfo& file, bool remote) override;

 private:
  DirectoryCalls& calls_;
};

}  // namespace agent
