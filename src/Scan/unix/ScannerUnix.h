#pragma once

#include <optional>
#include <string>

#include "Scan/unix/DirectoryCalls.h"
#include "Scan/walk/Scanner.h"

namespace agent {

/// The walker of this platform: stats entries relative to their open directory.
class ScannerUnix final : public Scanner {
 public:
  ScannerUnix(const Setup& setup, DirectoryCalls& calls);

  bool Stat(fileInfo& file, bool remote) override;
  const LocalPathInfo* localPath() const override { return localPath_ ? &*localPath_ : nullptr; }
  void setLocalPath(const std::string& localPath) override;

 private:
  DirectoryCalls& calls_;
  std::optional<LocalPathInfo> localPath_;
};

}  // namespace agent
