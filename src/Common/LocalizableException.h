#pragma once

#include <exception>

namespace agent {

/// Never thrown by this job. Kept because libraries of the agent family derive from it.
class LocalizableException : public std::exception {};

}  // namespace agent
