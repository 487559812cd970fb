#pragma once

#include <string>

namespace agent {

/// The system's text for errno as it stands.
std::string getSystemErrorMessage();

/// The system's text for an errno that was kept.
std::string getSystemErrorMessage(int error);

}  // namespace agent
