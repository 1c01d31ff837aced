// SPDX-License-Identifier: MIT
// A host whose board calls are recorded: by the preloaded recorder, or, where a FILE is named, through its
// interface. Two of its threads open libraries, it forks, opens its device twice, and ends while a thread
// still waits for frames.
//
//     recorded-host PLUGIN [FILE]
#include <orvo/core/PluginLibrary.h>
#include <orvo/core/zume/PhysicalNetworkInterface.h>
#include <orvo/tools/recording/Recorder.h>

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>

using orvo::core::PluginLibrary;
using orvo::core::zume::PhysicalNetworkInterface;

namespace {

char error[300];

void demand(bool holds, const std::string& what) {
    if (!holds) throw std::runtime_error(what + ": " + error);
}

boost::shared_ptr<PhysicalNetworkInterface> openPort(PluginLibrary& library) {
    auto port = boost::dynamic_pointer_cast<PhysicalNetworkInterface>(library.create());
    port->injectDependency("boardId", 0);
    port->injectDependency("portId", 0);
    port->injectDependency("resetBoard", std::string("false"));
    port->postInjection();
    demand(port->setup(), "the port cannot be opened");
    port->start();
    return port;
}

void receiveOnce(PluginLibrary& library) {
    const auto port = openPort(library);
    demand(static_cast<bool>(port->receive(nullptr)), "no frame came");
    port->stop();
    port->waitForTermination();
}

/// Libraries in the folder in which it runs.
void openInTwoThreads() {
    const auto open = [](const char* path) {
        for (int i = 0; i < 3000; ++i) {
            void* const library = dlopen(path, RTLD_NOW);
            demand(library != nullptr, path);
            dlclose(library);
        }
    };
    std::thread other(open, "./opening.so");
    open("./skeleton.so");
    other.join();
}

void forkAChild() {
    const pid_t child = fork();
    if (child == 0) std::exit(0); // with all that a process does at its end
    int status = -1;
    demand(child > 0 && waitpid(child, &status, 0) == child && status == 0, "the child failed");
}

} // namespace

int main(int argc, char** argv) try {
    const char* const plugin = argc > 1 ? argv[1] : "";
    const char* const file = argc > 2 ? argv[2] : nullptr;
    demand(!file || orvoRecorderStart(file, plugin, error, sizeof error) == -1, "recorded without a plug-in");
    PluginLibrary library(plugin);
    library.init();
    demand(!file || orvoRecorderStart(file, nullptr, error, sizeof error) == 0, "not recorded");
    demand(!file || orvoRecorderStart(file, plugin, error, 0) == -1, "recorded twice");
    receiveOnce(library);
    openInTwoThreads();
    forkAChild();
    const auto port = openPort(library);
    std::atomic<int> reads{0};
    std::thread([&] {
        for (;; ++reads) port->receive(nullptr);
    }).detach();
    while (reads < 2) std::this_thread::yield();
    demand(!file || orvoRecorderStop(error, sizeof error) == 0, "the recording is not whole");
    demand(!file || orvoRecorderStop(error, sizeof error) == -1, "stopped twice");
    std::cout << "ended" << std::endl;
    std::exit(0); // the thread goes on
} catch (const std::exception& failure) {
    std::cerr << "recorded-host: " << failure.what() << '\n';
    return 1;
}
