#include "QLMlib/common/ut/Product.h"

namespace agent {

const char* buildDate() {
  return __DATE__;
}

}  // namespace agent
