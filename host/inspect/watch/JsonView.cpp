// SPDX-License-Identifier: MIT
#include "base/Output.h"
#include "frames/streams/StreamText.h"
#include "inspect/watch/WatchView.h"

#include <nlohmann/json.hpp>

namespace orvo::host {
namespace {

using Json = nlohmann::ordered_json;

template <class Value> Json orNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json();
}

Json streamsJson(const std::vector<WatchedStream>& streams, PortAddress port) {
    auto documents = Json::array();
    for (const auto& stream : streams)
        if (stream.port == port)
            documents.push_back({{"camera", ipv4Text(stream.ends.camera)},
                                 {"host", ipv4Text(stream.ends.host)},
                                 {"port", stream.ends.port},
                                 {"imagesPerSecond", stream.imagesPerSecond},
                                 {"complete", stream.complete},
                                 {"incomplete", stream.incomplete},
                                 {"missingPackets", stream.missingPackets}});
    return documents;
}

Json portJson(const PortHistory& port, const std::vector<WatchedStream>& streams) {
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
    return {{"board", port.port().board},      {"port", port.port().port},
            {"link", linkText(port)},          {"states", std::move(states)},
            {"counters", std::move(counters)}, {"streams", streamsJson(streams, port.port())}};
}

class JsonView : public WatchView {
public:
    void show(const WatchState& state) override {
        for (const auto& news : state.news) notice(news);
        auto ports = Json::array();
        for (const auto& port : state.ports) ports.push_back(portJson(port, state.streams));
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
