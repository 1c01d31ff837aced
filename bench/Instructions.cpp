// SPDX-License-Identifier: MIT
// Runs one frame path a number of times, for a tool that counts instructions: the difference of two runs,
// divided by that of their frames, is what a frame takes, and repeats exactly.
#include "NullBoard.h"

#include "gige/OrvoGbePhysicalNetworkInterface.h"

#include <orvo/core/zume/EthernetFrame.h>

#include <cstdlib>
#include <iostream>
#include <string_view>

namespace {

using orvo::core::zume::EthernetFrame;
using orvo::core::zume::OrvoGbePhysicalNetworkInterface;

int run(std::string_view path, std::uint32_t frameBytes, long frames) {
    OrvoGbePhysicalNetworkInterface port;
    orvo::bench::useNullBoard(0, frameBytes);
    port.injectDependency("resetBoard", std::string("false"));
    port.setup();
    if (path == "receive") {
        for (long i = 0; i < frames; ++i)
            if (!port.receive(nullptr)) return EXIT_FAILURE;
        return EXIT_SUCCESS;
    }
    EthernetFrame frame(QByteArray(static_cast<int>(frameBytes), 'x'));
    const boost::shared_ptr<EthernetFrame> handle(boost::shared_ptr<void>(), &frame);
    for (long i = 0; i < frames; ++i) port.addToSendQueue(handle);
    return EXIT_SUCCESS;
}

} // namespace

int main(int count, char** arguments) {
    if (count == 4 &&
        (arguments[1] == std::string_view("receive") || arguments[1] == std::string_view("send")))
        return run(arguments[1], static_cast<std::uint32_t>(std::atoi(arguments[2])),
                   std::atol(arguments[3]));
    std::cerr << "usage: " << arguments[0] << " receive|send FRAMEBYTES FRAMES\n";
    return 2;
}
