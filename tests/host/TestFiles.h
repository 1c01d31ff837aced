// SPDX-License-Identifier: MIT
// Files for tests: fault scripts, captures made of given frames, and what is in a file.
#pragma once

#include "support/TemporaryFolder.h"

#include <pcap/pcap.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace orvo::host::testing_support {

using test::TemporaryFolder;
using Frame = std::string; // any bytes

inline std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeFile(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

/// A fault of a script; `more` are its other settings, each on a line.
inline std::string fault(const std::string& kind, const std::string& more = "") {
    return "[[fault]]\nkind = '" + kind + "'\n" + more + "\n";
}

/// Writes a script for --faults and returns its path.
inline std::string writeFaults(const TemporaryFolder& folder, const std::string& script) {
    writeFile(folder.file("faults.toml"), script);
    return folder.file("faults.toml");
}

/// A pcap file; a frame longer than `snapLength` is cut short.
inline void writeCapture(const std::string& path, const std::vector<Frame>& frames,
                         std::size_t snapLength = 65'535) {
    const std::unique_ptr<pcap_t, void (*)(pcap_t*)> format(pcap_open_dead(DLT_EN10MB, 65'535), pcap_close);
    const std::unique_ptr<pcap_dumper_t, void (*)(pcap_dumper_t*)> file(
        pcap_dump_open(format.get(), path.c_str()), pcap_dump_close);
    for (const auto& frame : frames) {
        pcap_pkthdr header = {};
        header.len = static_cast<bpf_u_int32>(frame.size());
        header.caplen = static_cast<bpf_u_int32>(std::min(frame.size(), snapLength));
        pcap_dump(reinterpret_cast<u_char*>(file.get()), &header,
                  reinterpret_cast<const u_char*>(frame.data()));
    }
}

/// The frames of a capture, read by libpcap alone; ends at the first error.
inline std::vector<Frame> framesOf(const std::string& path) {
    char reason[PCAP_ERRBUF_SIZE] = "";
    const std::unique_ptr<pcap_t, void (*)(pcap_t*)> capture(pcap_open_offline(path.c_str(), reason),
                                                             pcap_close);
    std::vector<Frame> frames;
    pcap_pkthdr* header = nullptr;
    const u_char* bytes = nullptr;
    while (capture && pcap_next_ex(capture.get(), &header, &bytes) == 1)
        frames.emplace_back(reinterpret_cast<const char*>(bytes), header->caplen);
    return frames;
}

/// A pcapng file's last block, of less than 256 bytes; begins with 5 when the file was closed with its
/// statistics.
inline std::string lastBlock(const std::string& path) {
    const auto file = contentOf(path);
    return file.substr(file.size() - static_cast<unsigned char>(file.at(file.size() - 4)));
}

/// A frame that no other number gives.
inline Frame numberedFrame(unsigned number, std::size_t bytes) {
    auto frame = std::to_string(number);
    frame.resize(bytes, '.');
    return frame;
}

} // namespace orvo::host::testing_support
