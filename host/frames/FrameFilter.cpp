// SPDX-License-Identifier: MIT
// Filters through libpcap.
#include "frames/FrameFilter.h"

#include "base/Failure.h"
#include "frames/PcapngBlocks.h"

#include <pcap/pcap.h>

namespace orvo::host {

void FrameFilter::Free::operator()(bpf_program* program) const noexcept {
    pcap_freecode(program);
    delete program;
}

FrameFilter::FrameFilter(const std::string& expression) : program_(new bpf_program{}) {
    const std::unique_ptr<pcap_t, decltype(&pcap_close)> format(
        pcap_open_dead(DLT_EN10MB, static_cast<int>(pcapng::snapLength)), pcap_close);
    constexpr int optimized = 1;
    if (pcap_compile(format.get(), program_.get(), expression.c_str(), optimized, PCAP_NETMASK_UNKNOWN) != 0)
        throw UsageFailure("filter " + quoted(expression) + " does not compile: " +
                           pcap_geterr(format.get()) + "; 'man pcap-filter' describes the language");
}

bool FrameFilter::passes(const void* frame, std::size_t bytes) const noexcept {
    pcap_pkthdr header = {};
    header.caplen = header.len = static_cast<bpf_u_int32>(bytes);
    return pcap_offline_filter(program_.get(), &header, static_cast<const u_char*>(frame)) != 0;
}

} // namespace orvo::host
