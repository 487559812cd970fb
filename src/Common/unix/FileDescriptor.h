#pragma once

#include "QLMlib/common/unx/OwnedDescriptor.h"

namespace agent {

/// The runtime's owner of a descriptor, with its openFile, writeAll and readAt, under the name that this room
/// and those above use.
using FileDescriptor = OwnedDescriptor;

}  // namespace agent
