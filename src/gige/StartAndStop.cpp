// SPDX-License-Identifier: MIT
#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"
#include "gige/OrvoGbePhysicalNetworkInterfaceStatics.h"

#include <new>

namespace orvo::core::zume {

void OrvoGbePhysicalNetworkInterface::start() {
    if (d->uiqLeecherThread) d->uiqLeecherThread->start();
}

void OrvoGbePhysicalNetworkInterface::stop() {
    if (d->uiqLeecherThread) d->uiqLeecherThread->requestStop();
    d->eventQueue->queue->interrupt();
    try {
        OrvoGbePhysicalNetworkInterfaceStatics::getInstance()->forgetResets();
    } catch (const std::bad_alloc&) {
        // The statics do not exist, so no board has been reset.
    }
}

void OrvoGbePhysicalNetworkInterface::waitForTermination() {
    if (d->uiqLeecherThread) d->uiqLeecherThread->join();
    logStatistics();
}

} // namespace orvo::core::zume
