// Beginning and end of an interface's own activity.
#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"
#include "gige/OrvoGbePhysicalNetworkInterfaceStatics.h"

namespace orvo::core::zume {

void OrvoGbePhysicalNetworkInterface::start() {
    if (d->uiqLeecherThread) d->uiqLeecherThread->start();
}

void OrvoGbePhysicalNetworkInterface::stop() {
    if (d->uiqLeecherThread) d->uiqLeecherThread->requestStop();
    d->eventQueue->queue->interrupt();
    OrvoGbePhysicalNetworkInterfaceStatics::getInstance()->forgetResets();
}

void OrvoGbePhysicalNetworkInterface::waitForTermination() {
    if (d->uiqLeecherThread) d->uiqLeecherThread->join();
    logStatistics();
}

} // namespace orvo::core::zume
