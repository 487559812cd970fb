#include "Common/unix/psmsgutil.h"

#include <cerrno>
#include <system_error>

namespace agent {

std::string getSystemErrorMessage() {
  return getSystemErrorMessage(errno);
}

std::string getSystemErrorMessage(int error) {
  return std::generic_category().message(error);
}

}  // namespace agent
