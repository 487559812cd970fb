#include "Common/VOXCommon/CommonAgentFactory.h"

#include "QLMlib/common/ut/Trace.h"

namespace agent {

std::unique_ptr<CommonAgent> CommonAgentFactory::m_pCommonAgentInstance;

CommonAgent& CommonAgentFactory::getCommonAgent() {
  if (!m_pCommonAgentInstance) {
    TRACE(TR_MAX, "Instantiating new CommonAgent object...");
    m_pCommonAgentInstance = std::make_unique<CommonAgent>();
    TRACE(TR_MAX, "CommonAgent object successfully instantiated. Invoking initialize()...");
    m_pCommonAgentInstance->initialize();
  }
  return *m_pCommonAgentInstance;
}

}  // namespace agent
