// SPDX-License-Identifier: MIT
#include "gige/OrvoGbePhysicalNetworkInterfaceUiqLeecherThread.h"

#include "gige/OrvoGbePhysicalNetworkInterface.h"

#include <cstdio>

namespace orvo::core::zume {

OrvoGbePhysicalNetworkInterfaceUiqLeecherThread::OrvoGbePhysicalNetworkInterfaceUiqLeecherThread(
    OrvoGbePhysicalNetworkInterface* owner, std::uint32_t queueKind, std::uint32_t boardId,
    std::uint32_t portId)
    : owner_(owner), queueKind_(queueKind), boardId_(boardId), portId_(portId) {}

OrvoGbePhysicalNetworkInterfaceUiqLeecherThread::~OrvoGbePhysicalNetworkInterfaceUiqLeecherThread() {
    join();
}

void OrvoGbePhysicalNetworkInterfaceUiqLeecherThread::run() {
    const bool drainsActionCommands = queueKind_ == actionCommandQueueKind;
    char name[32];
    std::snprintf(name, sizeof name, "Uiq%s/%u-%u", drainsActionCommands ? "Act" : "", boardId_, portId_);
    templates::platform::nameThisThread(name);
    while (!stopRequested_ && drainsActionCommands) owner_->monitorActionCommandTimeoutEvents();
}

} // namespace orvo::core::zume
