// SPDX-License-Identifier: MIT
#include "traffic/ExerciseRun.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "base/Pacing.h"
#include "base/Signals.h"
#include "device/Plugin.h"
#include "device/PluginLog.h"
#include "traffic/ExerciseLines.h"
#include "traffic/ExerciseSteps.h"

#include <orvo/core/zume/PhysicalNetworkInterfaceEventQueue.h>
#include <orvo/sim/orvo_sim.h>

#include <boost/crc.hpp>
#include <boost/make_shared.hpp>
#include <fmt/format.h>

#include <map>

namespace orvo::host {
namespace {

using core::zume::EthernetFrame;
using core::zume::PhysicalNetworkInterface;
using templates::platform::SynchronizedQueueInterruptException;

ExerciseLines shown;

void show(const std::string& line) {
    shown.add(line);
}

const char* text(bool value) {
    return value ? "true" : "false";
}

int showSleep(std::uint64_t microseconds) {
    shown.addSleep(microseconds);
    return shown.isAlone() ? 1 : 0;
}

int showMessage(void*, const char*, std::uint32_t level, const char* message) {
    const std::string line = message;
    show(fmt::format("  logs {} {}", level, line.substr(line.find('|') + 1))); // without the thread's number
    return 1;
}

/// Broadcast, of an Ethertype for experiments; no two steps of a run send the same.
boost::shared_ptr<EthernetFrame> frameOf(std::size_t length, unsigned number) {
    QByteArray bytes("\xFF\xFF\xFF\xFF\xFF\xFF\x02\x00\x00\x00\x00\x01\x88\xB5", 14);
    bytes.resize(static_cast<int>(length));
    for (std::size_t i = 14; i < length; ++i)
        bytes[static_cast<int>(i)] = static_cast<char>(31 * i + 7 * number + i / 256);
    return boost::make_shared<EthernetFrame>(bytes);
}

std::string textOf(const EthernetFrame& frame) {
    const auto bytes = frame.data();
    boost::crc_32_type sum;
    sum.process_bytes(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    return fmt::format("{} bytes, CRC-32 {:08x}", bytes.size(), sum.checksum());
}

/// Whether the step changes what the plug-in's thread does.
bool isForThreads(const ExerciseStepRow& row) {
    const std::string_view name = row.name;
    return name == "stop" || name == "end" || name == "events" || name == "reinitialize";
}

class Exercise {
public:
    explicit Exercise(const ExerciseRequest& request)
        : request_(request), access_(request.boards, request.port.address.board), log_(access_.installation),
          plugin_(access_.installation), messages_(log_, DetailLevel, showMessage, nullptr) {
        access_.bind(plugin_);
        if (access_.playback && !access_.playback->isRealTime()) letSleepsAdvance(showSleep);
        use(request.port.address);
    }

    void make(const ExerciseStep& step) {
        if (isForThreads(*step.row)) Playback::letOthersCatchUp();
        show(step.text);
        if (step.row->onBoard)
            onBoard(step);
        else
            (this->*operations().at(step.row->name))(step.numbers);
    }

private:
    using Numbers = std::vector<std::int64_t>;
    using Operation = void (Exercise::*)(const Numbers&);

    static const std::map<std::string, Operation>& operations() {
        static const std::map<std::string, Operation> all = {
            {"use", &Exercise::use},           {"setup", &Exercise::setup},
            {"start", &Exercise::start},       {"stop", &Exercise::stop},
            {"wait", &Exercise::wait},         {"end", &Exercise::end},
            {"send", &Exercise::send},         {"receive", &Exercise::receive},
            {"checksum", &Exercise::checksum}, {"crc-watch", &Exercise::crcWatch},
            {"events", &Exercise::events},     {"reinitialize", &Exercise::reinitialize},
            {"reset", &Exercise::reset},       {"report", &Exercise::report},
            {"pause", &Exercise::pause},
        };
        return all;
    }

    void use(PortAddress address) {
        auto& port = ports_[address.text()];
        port_ = address;
        if (!port) {
            port = plugin_.createInterface();
            port->injectDependency("id", address.text());
            // The plug-in has defaults, which are of interest here.
            if (address.board != 0) port->injectDependency("boardId", static_cast<int>(address.board));
            if (address.port != 0) port->injectDependency("portId", static_cast<int>(address.port));
            if (request_.port.noReset) port->injectDependency("resetBoard", std::string("false"));
            port->postInjection();
        }
        interface_ = port.get();
    }
    void use(const Numbers& numbers) {
        use(PortAddress{static_cast<unsigned>(numbers[0]), static_cast<unsigned>(numbers[1])});
    }

    void setup(const Numbers&) { returns(text(interface_->setup())); }
    void start(const Numbers&) {
        shown.noteThread();
        interface_->start();
    }
    void stop(const Numbers&) { interface_->stop(); }
    void wait(const Numbers&) { interface_->waitForTermination(); }
    void end(const Numbers&) {
        ports_.erase(port_.text());
        use(port_);
    }

    void send(const Numbers& numbers) {
        auto frame = frameOf(static_cast<std::size_t>(numbers[0]), sent_++);
        if (numbers.size() > 1) frame->appendFcs(static_cast<unsigned>(numbers[1]));
        interface_->addToSendQueue(frame);
        interface_->transmitSendQueue();
        returns(textOf(*frame));
    }

    void receive(const Numbers& numbers) {
        for (auto left = numbers.empty() ? 1 : numbers[0]; left > 0; --left) {
            throwIfEndRequested();
            bool isFrame = left % 2 == 0; // must be set either way
            const auto frame = interface_->receive(&isFrame);
            returns(fmt::format("{}, {}", text(isFrame), frame ? textOf(*frame) : "no frame"));
        }
    }

    void checksum(const Numbers& numbers) {
        interface_->enableCustomChecksum(numbers[0] != 0);
        returns(fmt::format("supported {}, enabled {}", text(interface_->supportsCustomChecksum()),
                            text(interface_->isCustomChecksumEnabled())));
    }

    void crcWatch(const Numbers&) { plugin_.watchCrcErrors(); }

    /// With a number, switches the queue; without one, takes what waits in it.
    void events(const Numbers& numbers) {
        const auto queue = interface_->eventQueue();
        if (!numbers.empty()) {
            queue->enabled = numbers[0] != 0;
            return;
        }
        try {
            boost::shared_ptr<core::zume::PhysicalNetworkInterfaceEvent> event;
            while (queue->queue->tryPop(event, std::chrono::milliseconds{0}))
                if (const auto* timeout = dynamic_cast<core::zume::PniActionCommandTimeout*>(event.get()))
                    returns(fmt::format("type {}, count {}", timeout->type, timeout->count));
        } catch (const SynchronizedQueueInterruptException&) {
            returns("interrupted");
        }
    }

    void reinitialize(const Numbers& numbers) {
        returns(text(interface_->reinitialize(
            static_cast<core::zume::ReinitializationPhase>(static_cast<int>(numbers[0])))));
    }
    void reset(const Numbers&) { interface_->forceReset(); }
    void report(const Numbers&) { interface_->triggerDebugOutput(); }

    void pause(const Numbers& numbers) {
        if (!access_.playback) awaitEndRequest(std::chrono::milliseconds(numbers[0]));
    }

    void onBoard(const ExerciseStep& step) const {
        if (access_.playback) return; // it did so
        access_.requireSimulator("step " + quoted(step.row->name));
        const int result = step.row->onBoard(*access_.libraries.hal(), port_.board, step);
        if (result != 0 && result != OrvoSimFull) // the board has counted those words as lost
            throw Failure("the simulated board refuses the step " + quoted(step.text) +
                          "; look whether it has what the step names");
    }

    static void returns(const std::string& what) { show("  returns " + what); }

    const ExerciseRequest& request_;
    const BoardAccess access_;
    const PluginLog log_;
    Plugin plugin_;
    const LogSubscription messages_;
    std::map<std::string, boost::shared_ptr<PhysicalNetworkInterface>> ports_;
    PortAddress port_{};
    PhysicalNetworkInterface* interface_ = nullptr;
    unsigned sent_ = 0;
};

} // namespace

void runExercise(const ExerciseRequest& request) {
    std::vector<ExerciseStep> steps;
    for (const auto& text : request.steps) steps.push_back(exerciseStep(text));
    Exercise exercise(request);
    for (const auto& step : steps) {
        throwIfEndRequested();
        exercise.make(step);
    }
}

} // namespace orvo::host
