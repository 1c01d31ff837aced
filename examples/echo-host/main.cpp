// SPDX-License-Identifier: MIT
// The smallest host: loads a plug-in, sets up port 0 of board 0, and sends every frame back to where it came
// from.
//
//     echo-host PLUGIN FRAMES SECONDS   # exit code 0 after FRAMES frames, 1 after SECONDS
#include <orvo/core/PluginLibrary.h>
#include <orvo/core/zume/PhysicalNetworkInterface.h>

#include <boost/make_shared.hpp>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <stdexcept>

using orvo::core::PluginLibrary;
using orvo::core::zume::EthernetFrame;
using orvo::core::zume::PhysicalNetworkInterface;

namespace {

boost::shared_ptr<PhysicalNetworkInterface> openPort(PluginLibrary& library) {
    auto port = boost::dynamic_pointer_cast<PhysicalNetworkInterface>(library.create());
    if (!port) throw std::runtime_error(library.path() + " makes no network interface");
    port->injectDependency("id", std::string("echo"));
    port->injectDependency("boardId", 0);
    port->injectDependency("portId", 0);
    port->injectDependency("resetBoard", std::string("false")); // it takes 5 s, and the board may be in use
    port->postInjection();
    if (!port->setup()) throw std::runtime_error("port 0 of board 0 cannot be opened; the log says why");
    port->start();
    return port;
}

/// The frame with its two addresses swapped; of even length, since boards move units of 16 bits.
boost::shared_ptr<EthernetFrame> answerTo(const EthernetFrame& frame) {
    QByteArray bytes = frame.data();
    std::swap_ranges(bytes.begin(), bytes.begin() + 6, bytes.begin() + 6);
    if (bytes.size() % 2 != 0) bytes.append('\0');
    return boost::make_shared<EthernetFrame>(bytes);
}

unsigned long echo(PhysicalNetworkInterface& port, unsigned long frames, std::chrono::seconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    unsigned long echoed = 0;
    while (echoed < frames && std::chrono::steady_clock::now() < end) {
        const auto frame = port.receive(nullptr); // waits for one, but not for long
        if (!frame || frame->length() < 14) continue;
        port.addToSendQueue(answerTo(*frame));
        port.transmitSendQueue();
        ++echoed;
    }
    return echoed;
}

} // namespace

int main(int argc, char** argv) try {
    if (argc != 4) {
        std::cerr << "usage: echo-host PLUGIN FRAMES SECONDS\n";
        return 2;
    }
    PluginLibrary library(argv[1]);
    std::cout << "plug-in " << library.descriptor().name << ": " << library.descriptor().description
              << std::endl;
    library.init(); // undone by the library's destructor, after the port is gone
    const auto port = openPort(library);
    const unsigned long frames = std::strtoul(argv[2], nullptr, 10);
    const auto echoed = echo(*port, frames, std::chrono::seconds(std::strtol(argv[3], nullptr, 10)));
    port->stop();
    port->waitForTermination();
    std::cout << "echoed  " << echoed << " frames" << std::endl;
    return echoed == frames ? 0 : 1;
} catch (const std::exception& error) {
    std::cerr << "echo-host: " << error.what() << '\n';
    return 1;
}
