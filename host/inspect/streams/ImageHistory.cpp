// SPDX-License-Identifier: MIT
#include "inspect/streams/ImageHistory.h"

#include <algorithm>

namespace orvo::host {

ImageHistory::ImageHistory(StreamTime begin, StreamTime from, StreamTime interval, std::size_t intervals)
    : begin_(begin), interval_(interval), first_(static_cast<std::size_t>((from - begin) / interval)),
      most_(intervals) {}

void ImageHistory::add(const EndedImage& image) {
    const auto index = static_cast<std::size_t>(std::max<StreamTime>(image.begin - begin_, 0) / interval_);
    if (index >= most_) return;
    if (index >= intervals_.size()) intervals_.resize(index + 1);
    auto& interval = intervals_[index];
    (image.end == ImageEnd::Complete    ? interval.whole
     : image.end == ImageEnd::Recovered ? interval.recovered
                                        : interval.damaged) += image.images;
}

std::vector<std::optional<double>> ImageHistory::ratesOf(std::uint64_t Interval::*images) const {
    std::vector<std::optional<double>> rates;
    for (std::size_t i = 0; i < intervals_.size(); ++i)
        rates.push_back(i < first_ ? std::nullopt
                                   : std::optional(static_cast<double>(intervals_[i].*images) * 1e9 /
                                                   static_cast<double>(interval_)));
    return rates;
}

Chart ImageHistory::chart() const {
    Chart chart{"images", "Images of cameras", "per second", {}, {}};
    if (intervals_.empty()) return chart;
    for (std::size_t i = 0; i < intervals_.size(); ++i)
        chart.seconds.push_back(static_cast<double>(i) * static_cast<double>(interval_) / 1e9);
    chart.series = {{"complete", ratesOf(&Interval::whole)},
                    {"complete after resend", ratesOf(&Interval::recovered)},
                    {"with missing packets", ratesOf(&Interval::damaged)}};
    return chart;
}

} // namespace orvo::host
