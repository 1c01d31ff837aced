// SPDX-License-Identifier: MIT
// One JSON document a line for each reading.
#include "base/Notice.h"
#include "base/Output.h"
#include "inspect/watch/WatchView.h"

#include <nlohmann/json.hpp>

namespace orvo::host {
namespace {

using Json = nlohmann::ordered_json;

template <class Value> Json orNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json();
}

Json jsonOf(const PortTrack& port) {
    Json states = Json::object(), counters = Json::object();
    forEachCounter([&](Counter counter, const CounterRow& row) {
        const auto& figure = port.of(counter);
        if (row.isCount())
            counters[row.key] = {{"value", orNull(figure.value)},
                                 {"sinceStart", orNull(figure.sinceStart)},
                                 {"perSecond", orNull(figure.perSecond)}};
        else
            states[row.key] = orNull(figure.value);
    });
    return {{"board", port.port().board},
            {"port", port.port().port},
            {"link", linkText(port)},
            {"states", std::move(states)},
            {"counters", std::move(counters)}};
}

class JsonView : public WatchView {
public:
    void show(const WatchState& state) override {
        for (const auto& news : state.news) notice(news);
        auto ports = Json::array();
        for (const auto& port : state.ports) ports.push_back(jsonOf(port));
        const Json document = {
            {"time", timeText(state.time)}, {"seconds", state.seconds}, {"ports", std::move(ports)}};
        print(document.dump() + "\n");
    }
};

} // namespace

std::unique_ptr<WatchView> makeJsonView() {
    return std::make_unique<JsonView>();
}

} // namespace orvo::host
