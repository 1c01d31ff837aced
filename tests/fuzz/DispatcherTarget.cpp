// SPDX-License-Identifier: MIT
// Calls between logging facility and dispatcher in any order: those of a dispatcher into the plug-in's
// facility, and those of facilities and a host into the dispatcher.
#include "Dispatcher.h"
#include "fuzz/FuzzInput.h"
#include "logging/LogLine.h"
#include "logging/Logging.h"
#include "plugin/LibraryInitController.h"
#include "support/RecordedLog.h"

#include <stdexcept>
#include <vector>

namespace orvo::test {
namespace {

using core::zume::LibraryInitController;
using tools::logging::Logging;
using tools::logging::LogLevel;
using tools::logging::LogLine;

/// The plug-in's facility, attached to the recording dispatcher.
class FacilityUnderTest {
public:
    FacilityUnderTest() {
        const LibraryInitController::Lock lock;
        LibraryInitController::beginUse();
    }
    ~FacilityUnderTest() {
        onAttach({});
        setThreshold(2);
        const LibraryInitController::Lock lock;
        LibraryInitController::endUse();
        takeRecords();
        forgetHandles();
    }

    void step(FuzzInput& input) {
        switch (input.take<std::uint8_t>() % 8) {
        case 0:
            attached().setLevel(input.take<std::uint8_t>(), input.take<std::uint32_t>());
            break;
        case 1:
            attached().detached();
            break;
        case 2:
            setThreshold(input.take<std::uint8_t>());
            break;
        case 3:
            shareHandle(input.takeText(), input.takeText());
            break;
        case 4:
            chooseAttach(input.take<std::uint8_t>() % 4);
            break;
        case 5:
            Logging::getLogger(input.takeText().c_str())->setThreadEnabled(input.take<std::uint8_t>() % 2);
            break;
        case 6:
            Logging::emit(input.take<std::uint64_t>(), input.take<std::uint32_t>(), input.takeText().c_str(),
                          0, 0);
            break;
        default:
            if (auto line = LogLine(Logging::getLogger(input.takeText().c_str()),
                                    static_cast<LogLevel>(input.take<std::uint8_t>() % 8), input.takeText()))
                line << input.takeText() << tools::logging::Hex{input.take<std::uint64_t>()};
        }
    }

private:
    static Attachment attached() {
        Logging::getLogger("guard.library"); // makes the facility, which attaches
        return attachment();
    }

    static void chooseAttach(int way) {
        onAttach([way](const Attachment& attachment) {
            if (way > 0) attachment.setLevel(1, 3);
            if (way > 1) Logging::getLogger("guard.library");
            if (way > 2) attachment.detached();
        });
    }
};

/// A dispatcher between facilities and readers that do what the input says when they are called.
class DispatcherUnderTest {
public:
    explicit DispatcherUnderTest(const std::string& thresholds)
        : dispatcher_(dispatcher::Settings{thresholdsOf(thresholds), ""}) {
        dispatcher_.subscribe(nullptr, 0, keepFromConsole, nullptr);
    }

    void step(FuzzInput& input) {
        auto* const facility =
            reinterpret_cast<Logging*>(&places_[input.take<std::uint8_t>() % std::size(places_)]);
        switch (input.take<std::uint8_t>() % 7) {
        case 0:
            dispatcher_.attach(
                facility, [] {}, [](std::uint64_t, std::uint32_t) {});
            break;
        case 1:
            dispatcher_.detach(facility);
            break;
        case 2:
            dispatcher_.detachAll();
            break;
        case 3: {
            const auto name = input.takeText();
            const auto handle = dispatcher_.lookup(name.c_str()).handle;
            demand(handle == dispatcher_.lookup(name.c_str()).handle);
            break;
        }
        case 4:
            dispatcher_.emit(input.take<std::uint64_t>() >> (input.take<std::uint8_t>() % 64),
                             input.take<std::uint32_t>(), input.takeText().c_str());
            break;
        case 5:
            if (subscriptions_.size() < 16)
                subscriptions_.push_back(
                    dispatcher_.subscribe(input.take<std::uint8_t>() % 2 ? input.takeText().c_str() : nullptr,
                                          input.take<std::uint8_t>(), keepFromConsole, nullptr));
            break;
        default:
            if (subscriptions_.empty()) break;
            demand(dispatcher_.unsubscribe(subscriptions_.back()));
            demand(!dispatcher_.unsubscribe(subscriptions_.back()));
            subscriptions_.pop_back();
        }
    }

private:
    static int keepFromConsole(void*, const char*, std::uint32_t, const char*) { return 1; }

    static dispatcher::Thresholds thresholdsOf(const std::string& text) {
        try {
            return dispatcher::Thresholds::parse(text);
        } catch (const std::invalid_argument&) {
            return {};
        }
    }

    dispatcher::Dispatcher dispatcher_;
    char places_[3] = {};
    std::vector<std::uint64_t> subscriptions_;
};

} // namespace
} // namespace orvo::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    orvo::test::FuzzInput input(bytes, count);
    const bool ofFacility = input.take<std::uint8_t>() % 2;
    if (ofFacility) {
        orvo::test::FacilityUnderTest facility;
        while (!input.isEmpty()) facility.step(input);
    } else {
        orvo::test::DispatcherUnderTest dispatcher(input.takeText());
        while (!input.isEmpty()) dispatcher.step(input);
    }
    return 0;
}
