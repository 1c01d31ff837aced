// SPDX-License-Identifier: MIT
// Runs a fuzz target on the files of the folders given, where there is no fuzzer.
#include "fuzz/FuzzInput.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

int main(int argc, char** argv) {
    std::size_t inputs = 0;
    for (int i = 1; i < argc; ++i)
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::vector<char> content{std::istreambuf_iterator<char>(file), {}};
            std::printf("%s\n", entry.path().filename().c_str());
            std::fflush(stdout); // names the input that a crash is about
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
            ++inputs;
        }
    std::printf("%zu inputs\n", inputs);
    return inputs > 0 ? 0 : 1;
}
