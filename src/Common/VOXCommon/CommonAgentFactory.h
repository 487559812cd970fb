#pragma once

#include <memory>

#include "Common/VOXCommon/CommonAgent.h"

namespace agent {

class CommonAgentFactory {
 public:
  /// The process's one CommonAgent, made on the first call; lives until the process ends. Main thread only.
  static CommonAgent& getCommonAgent();

 private:
  static std::unique_ptr<CommonAgent> m_pCommonAgentInstance;
};

}  // namespace agent
