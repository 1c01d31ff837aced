// SPDX-License-Identifier: MIT
// What remains of a file of blocks when writing it fails: whole blocks, and room for the one that closes it.
#include "frames/BlockFile.h"

#include "TestFiles.h"
#include "base/Failure.h"
#include "base/Signals.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

namespace orvo::host {
namespace {

using namespace testing_support;

// A full disk that needs no disk: the process may not make files any longer than this.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }

private:
    rlimit before_ = {};
};

TEST(BlockFileTest, EndsAtABlockWithRoomForTheClosingOneWhenTheDiskIsFull) {
    const TemporaryFolder folder;
    const auto path = folder.file("blocks");
    installSignalHandlers(); // reaching the limit is to be an error, not a signal
    const std::pair<rlim_t, std::size_t> cases[] = {{1000, 9},  {1019, 9}, {1020, 10},
                                                    {1099, 10}, {100, 0},  {19, 0}};
    for (const auto& [bytes, blocksLeft] : cases) {
        SCOPED_TRACE(bytes);
        BlockFile file(path, 20);
        file.empty();
        file.keep();
        for (int i = 0; i < 20; ++i)
            file.add(std::vector<std::uint8_t>(100, static_cast<std::uint8_t>('a' + i)));
        const FileSizeLimit limit(bytes);
        EXPECT_THROW(file.flush(), Failure);
        EXPECT_EQ(file.lostBlocks(), 20 - blocksLeft);
        EXPECT_EQ(contentOf(path).size(), 100 * blocksLeft);
        if (bytes < 20) continue; // no room even for that
        file.add(std::vector<std::uint8_t>(20, 'z'));
        file.close();
        EXPECT_EQ(contentOf(path).substr(100 * blocksLeft), std::string(20, 'z'));
    }
}

} // namespace
} // namespace orvo::host
