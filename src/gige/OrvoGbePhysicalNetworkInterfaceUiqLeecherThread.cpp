// The leecher's loop.
#include "gige/OrvoGbePhysicalNetworkInterfaceUiqLeecherThread.h"

#include "gige/OrvoGbePhysicalNetworkInterface.h"

#include <new>
#include <string>

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
    const std::string name = std::string("Uiq") + (drainsActionCommands ? "Act" : "") + "/" +
                             std::to_string(boardId_) + "-" + std::to_string(portId_);
    templates::platform::nameThisThread(name.c_str());
    while (!stopRequested_ && drainsActionCommands) {
        try {
            owner_->monitorActionCommandTimeoutEvents();
        } catch (const std::bad_alloc&) {
            // No memory for a message: it is lost, the next pass may have some.
        }
    }
}

} // namespace orvo::core::zume
