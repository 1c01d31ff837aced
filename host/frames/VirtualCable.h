// SPDX-License-Identifier: MIT
// A cable between two network namespaces.
#pragma once

#include "base/NetworkNamespace.h"

#include <string>

namespace orvo::host {

/// Makes two interfaces that are each other's far end (veth): `near` in the calling thread's namespace, `far`
/// in the other one. Errors: Failure, with the way out.
void makeVirtualCable(const std::string& near, const std::string& far, const NetworkNamespace& farNamespace);

/// From now on the interface sends frames as they would be on a wire: cut to size, checksums and all, instead
/// of leaving that to hardware that a virtual one does not have. Errors: Failure.
void sendFinishedFrames(const std::string& interface);

} // namespace orvo::host
