// SPDX-License-Identifier: MIT
// Metric by metric, the ports of each as labels.
#include "inspect/watch/PrometheusText.h"

#include <fmt/format.h>

namespace orvo::host {
namespace {

std::string head(const char* metric, const std::string& meaning, const char* type) {
    return fmt::format("# HELP {} {}\n# TYPE {} {}\n", metric, meaning, metric, type);
}

std::string helpOf(const CounterRow& row) {
    return row.meaning + (*row.unit ? fmt::format(" ({})", row.unit) : std::string());
}

std::string samplesOf(Counter counter, const CounterRow& row, const std::vector<PortTrack>& ports) {
    std::string text;
    for (const auto& port : ports) {
        const auto& figure = port.of(counter);
        const auto value = row.isCount() && figure.value ? figure.total : figure.value;
        if (value)
            text += fmt::format("{}{{board=\"{}\",port=\"{}\"}} {}\n", row.metric, port.port().board,
                                port.port().port, *value);
    }
    return text;
}

} // namespace

std::string prometheusTextOf(const WatchState& state) {
    std::string text;
    forEachCounter([&](Counter counter, const CounterRow& row) {
        const auto samples = samplesOf(counter, row, state.ports);
        if (!samples.empty())
            text += head(row.metric, helpOf(row), row.isCount() ? "counter" : "gauge") + samples;
    });
    constexpr auto readAt = "orvo_gige_read_timestamp_seconds";
    const std::chrono::duration<double> sinceEpoch = state.time.time_since_epoch();
    return text + head(readAt, "when these values were read, in seconds since 1970-01-01 UTC", "gauge") +
           fmt::format("{} {:.3f}\n", readAt, sinceEpoch.count());
}

} // namespace orvo::host
