#pragma once

#include "Common/Object.h"

namespace agent {

/// What results can be about: a file system or a monitored directory. A mark, without operations of its own.
class AnalysisSource : public Object {
 public:
  using Object::Object;
  ~AnalysisSource() override = default;
  AnalysisSource(const AnalysisSource&) = default;
  AnalysisSource& operator=(const AnalysisSource&) = default;
};

}  // namespace agent
