#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "Scan/walk/FileAction.h"

namespace agent {

/// Shows a person who started the job on a terminal how far it is: entries so far, rate and current
/// directory, in one line that is redrawn at most five times a second. Takes its place in a walk's row of
/// actions, so a job without a terminal pays nothing for it.
class ProgressLine : public FileAction {
 public:
  /// @param terminal descriptor of the terminal
  explicit ProgressLine(int terminal);
  ~ProgressLine() override;
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  void actUpon(Scanner& scanner, FileAttributes& attributes) override;
  void directoryEntered(FileAttributes& /*attributes*/) override {}
  void directoryLeft() override {}

  /// Takes the line away.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;

  void draw(std::string_view path, Clock::time_point now);
  size_t columns() const;
  void write(const std::string& text) const;

  int terminal_;
  int64_t entries_ = 0;
  Clock::time_point start_ = Clock::now();
  Clock::time_point drawn_ = start_;
  bool visible_ = false;
};

}  // namespace agent
