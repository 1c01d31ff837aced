// SPDX-License-Identifier: MIT
// The steps of a life, and what must hold after each.
#include "sweep/Life.h"

#include "sweep/VirtualTime.h"

#include <orvo/core/PluginLibrary.h>
#include <orvo/core/zume/PhysicalNetworkInterface.h>
#include <orvo/core/zume/PhysicalNetworkInterfaceEventQueue.h>
#include <orvo/sim/orvo_sim.h>

#include <boost/make_shared.hpp>

#include <dlfcn.h>

#include <optional>
#include <string_view>
#include <utility>

namespace orvo::test {
namespace {

using core::zume::EthernetFrame;
using core::zume::PhysicalNetworkInterface;

constexpr unsigned portId = 1;
constexpr int framesEachWay = 20;
constexpr std::uint64_t negotiationUs = 5'000'000;
constexpr int awaitRounds = 20'000;                   // naps; seconds
constexpr int settlingReceptions = 2 * framesEachWay; // until everything from before is out of the queue

boost::shared_ptr<EthernetFrame> numberedFrame(int number, int length = 60) {
    QByteArray bytes(length, '\0');
    for (int i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7 + number);
    return boost::make_shared<EthernetFrame>(bytes);
}

class Life {
public:
    Life(std::string pluginPath, const LifeFaults& faults) : path_(std::move(pluginPath)), faults_(faults) {}

    LifeRecord live() {
        prepareBoard();
        armCallFault(faults_.call);
        armMemoryFault(faults_.memory);
        liveInLibrary([this] { liveAsInterface(); });
        endFaults();
        liveInLibrary([this] { liveWithoutFault(); });
        OrvoSimPort state{};
        orvoSimReadPort(0, portId, &state);
        if (state.staleAccesses != staleBefore_) find("end", "a released handle was used");
        for (const auto& misuse : takeMisuses()) find("end", misuse);
        return std::move(record_);
    }

private:
    static constexpr bool mayThrow = true, mustNotThrow = false;

    void find(const std::string& step, const std::string& what) {
        record_.findings.push_back(step + ": " + what);
    }

    /// One step of the host's; true when it came back without an exception.
    template <class Work> bool attempt(const char* step, bool mayRunOut, Work work) {
        try {
            const ProductScope scope;
            work();
            return true;
        } catch (const std::bad_alloc&) {
            if (!mayRunOut || !lacksMemory()) find(step, "threw std::bad_alloc");
        } catch (const core::PluginLibraryError& error) {
            // The loader needs memory, too, and says so, unless there is none for its words either.
            const std::string_view text = error.what();
            constexpr auto nowhere = std::string_view::npos;
            const bool isOfMemory = text.find("memory") != nowhere || text.find("no reason") != nowhere;
            if (!mayRunOut || !lacksMemory() || !isOfMemory) find(step, error.what());
        } catch (const std::exception& error) {
            find(step, std::string("threw ") + error.what());
        }
        return false;
    }

    template <class Work> void liveInLibrary(Work work) {
        if (!attempt("load", mayThrow, [&] { library_.emplace(path_); })) return;
        if (attempt("init", mayThrow, [&] { library_->init(); })) work();
        attempt("deinit", mustNotThrow, [&] { library_->deinit(); });
        attempt("unload", mustNotThrow, [&] { library_.reset(); });
        checkHandles("unload", 0, 0);
    }

    void prepareBoard() {
        restartClock();
        orvoSimUseVirtualTime(1);
        orvoSimSetWire(0, portId, "loopback", nullptr, 0);
        orvoSimAdvanceTime(negotiationUs);
        OrvoSimPort state{};
        orvoSimReadPort(0, portId, &state);
        staleBefore_ = state.staleAccesses;
        takeMisuses();
    }

    void endFaults() {
        record_.hostCalls = callsOfHost();
        record_.otherCalls = callsOfOthers();
        record_.hostAllocations = allocationsOfHost();
        record_.otherAllocations = allocationsOfOthers();
        armCallFault({});
        armMemoryFault({});
        isOver_ = true;
    }

    void checkHandles(const char* step, std::size_t devices, std::size_t applets) {
        const auto held = openHandles();
        if (held.devices != devices) find(step, std::to_string(held.devices) + " devices are held");
        if (held.applets != applets) find(step, std::to_string(held.applets) + " applets are held");
        if (held.visitors != 0) find(step, std::to_string(held.visitors) + " devices of others are held");
    }

    void liveAsInterface() {
        boost::shared_ptr<PhysicalNetworkInterface> port;
        if (!makePort(port)) return;
        bool ready = false;
        if (!attempt("setup", mustNotThrow, [&] { ready = port->setup(); })) ready = false;
        checkHandles("setup", ready, ready);
        if (ready) work(*port);
        endPort(port);
    }

    bool makePort(boost::shared_ptr<PhysicalNetworkInterface>& port) {
        return attempt("create", mayThrow, [&] {
            port = boost::dynamic_pointer_cast<PhysicalNetworkInterface>(library_->create());
            port->injectDependency("id", std::string("port under test"));
            port->injectDependency("boardId", 0);
            port->injectDependency("portId", static_cast<int>(portId));
            port->injectDependency("resetBoard", std::string("true"));
        });
    }

    void work(PhysicalNetworkInterface& port) {
        port.eventQueue()->enabled = true;
        attempt("start", mustNotThrow, [&] { port.start(); });
        isFitForTraffic_ = isFaultless() || strikesOnceInTraffic();
        orvoSimAdvanceTime(negotiationUs);
        exchangeFrames(port);
        constexpr int growingBytes = 238; // whose memory grows twice when four bytes come one by one
        const auto checked = numberedFrame(framesEachWay, growingBytes);
        attempt("custom checksum", mayThrow, [&] {
            port.enableCustomChecksum(true);
            port.addToSendQueue(checked);
            port.enableCustomChecksum(false);
        });
        if (checked->length() != growingBytes + (checked->hasFcsAppended() ? 4 : 0))
            find("custom checksum", "the frame ends in part of a check sequence");
        awaitActionCommand(port);
        attempt("dump", mayThrow, [&] { port.triggerDebugOutput(); });
        attempt("reset", mayThrow, [&] { port.forceReset(); });
        orvoSimAdvanceTime(negotiationUs);
        reinitialise(port);
    }

    void exchangeFrames(PhysicalNetworkInterface& port) {
        watchCrcErrors(true);
        for (int number = 0; number < framesEachWay; ++number) {
            const auto sent = numberedFrame(number);
            attempt("send", mayThrow, [&] { port.addToSendQueue(sent); });
            boost::shared_ptr<EthernetFrame> frame;
            bool received = false;
            const bool returned = attempt("receive", mayThrow, [&] { frame = port.receive(&received); });
            if (returned && received != (frame != nullptr)) find("receive", "flag and frame disagree");
            if (isFaultless() && (!frame || frame->data() != sent->data()))
                find("receive", "the frame did not come back as it was");
        }
        watchCrcErrors(false);
        // In the first of these a fault may strike that is still to come.
        const auto later = numberedFrame(framesEachWay);
        if (!comesBack(port, later) && !comesBack(port, later) && isFitForTraffic_)
            find("receive", "no frame comes back after the fault");
    }

    /// Sends a frame and receives until it is there, behind what may be left of others.
    bool comesBack(PhysicalNetworkInterface& port, const boost::shared_ptr<EthernetFrame>& sent) {
        bool came = false;
        attempt("later frame", mayThrow, [&] {
            port.addToSendQueue(sent);
            for (int i = 0; i < settlingReceptions && !came; ++i) {
                const auto frame = port.receive(nullptr);
                came = frame && frame->data() == sent->data();
            }
        });
        return came;
    }

    void watchCrcErrors(bool on) {
        void* const plugin = dlopen(path_.c_str(), RTLD_NOW | RTLD_NOLOAD);
        *static_cast<bool*>(dlsym(plugin, "_ZN4orvo4core4zume20c_MONITOR_CRC_ERRORSE")) = on;
        dlclose(plugin);
    }

    /// Waits for the event of an action command; with a lasting fault the leecher may be the one that has it,
    /// or not be there.
    void awaitActionCommand(PhysicalNetworkInterface& port) {
        orvoSimReportActionCommandTimeout(0, portId, 77);
        const auto before = queueReadsOfOthers();
        const bool mayLoseReport = !faults_.call.ofHost || !faults_.memory.ofHost;
        boost::shared_ptr<core::zume::PhysicalNetworkInterfaceEvent> event;
        for (int i = 0; i < awaitRounds; ++i) {
            bool came = false;
            attempt("event", mustNotThrow,
                    [&] { came = port.eventQueue()->queue->tryPop(event, std::chrono::milliseconds{0}); });
            if (came || (!isFitForTraffic_ && i > 100 &&
                         (queueReadsOfOthers() == before || queueReadsOfOthers() > before + 30)))
                return;
            if (mayLoseReport && i % 200 == 199) orvoSimReportActionCommandTimeout(0, portId, 78);
            nap();
        }
        find("action command", isFitForTraffic_ ? "no event came" : "the leecher stands still");
    }

    void reinitialise(PhysicalNetworkInterface& port) {
        bool done = false;
        const auto applets = openHandles().applets;
        attempt("release", mustNotThrow, [&] { done = port.reinitialize(core::zume::ReleaseDevice); });
        if (!done) find("release", "was refused");
        checkHandles("release", 0, applets);
        done = false;
        attempt("reopen", mustNotThrow, [&] { done = port.reinitialize(core::zume::ReopenDevice); });
        if (!done && isFaultless()) find("reopen", "was refused");
        if (openHandles().devices != (done ? 1 : 0))
            find("reopen", std::to_string(openHandles().devices) + " devices are held");
    }

    void endPort(boost::shared_ptr<PhysicalNetworkInterface>& port) {
        attempt("stop", mustNotThrow, [&] { port->stop(); });
        const auto before = queueReadsOfOthers();
        attempt("wait", mustNotThrow, [&] { port->waitForTermination(); });
        if (queueReadsOfOthers() > before + 1) find("wait", "the leecher went on after stop");
        attempt("destroy", mustNotThrow, [&] { port.reset(); });
        checkHandles("destroy", 0, 0);
    }

    /// A new interface on the same port works.
    void liveWithoutFault() {
        boost::shared_ptr<PhysicalNetworkInterface> port;
        if (!makePort(port)) return;
        bool ready = false;
        attempt("second setup", mustNotThrow, [&] { ready = port->setup(); });
        if (!ready) find("second setup", "was refused");
        orvoSimAdvanceTime(negotiationUs);
        boost::shared_ptr<EthernetFrame> frame;
        const auto sent = numberedFrame(0);
        attempt("second traffic", mustNotThrow, [&] {
            port->addToSendQueue(sent);
            frame = port->receive(nullptr);
        });
        if (!frame || frame->data() != sent->data())
            find("second traffic", "the frame did not come back as it was");
        endPort(port);
    }

    bool lacksMemory() const { return !isOver_ && faults_.memory.nth != 0; }
    /// Whether the fault takes but one call or allocation, and none of those until now: what follows must get
    /// over it.
    bool strikesOnceInTraffic() const {
        const auto& [call, memory] = faults_;
        if (call.nth != 0)
            return call.extent == CallFault::Extent::Once &&
                   (!call.ofHost || call.nth > callsOfHost().size());
        return !memory.fromThenOn && (!memory.ofHost || memory.nth > allocationsOfHost());
    }
    bool isFaultless() const { return faults_.call.nth == 0 && faults_.memory.nth == 0; }

    const std::string path_;
    const LifeFaults faults_;
    bool isOver_ = false;          // the fault
    bool isFitForTraffic_ = false; // setup and start went without one
    std::uint64_t staleBefore_ = 0;
    std::optional<core::PluginLibrary> library_;
    LifeRecord record_;
};

} // namespace

LifeRecord liveOnce(const std::string& pluginPath, const LifeFaults& faults) {
    return Life(pluginPath, faults).live();
}

} // namespace orvo::test
