// SPDX-License-Identifier: MIT
#include "inspect/watch/Sampler.h"

#include "base/Failure.h"
#include "inspect/watch/LinkPoller.h"

#include <utility>

namespace orvo::host {
namespace {

using namespace std::chrono_literals;

constexpr auto searchPause = 5s; // between two searches for new boards

using Addresses = std::array<std::uint32_t, counterCount>; // of registers; 0: absent, or not a register

Addresses addressesOf(const Board& board, unsigned port) {
    Addresses addresses{};
    for (std::size_t i = 0; i < counterCount; ++i)
        if (counterRows[i].source == CounterSource::FirmwareRegister)
            addresses[i] = board.registerAddress(counterRows[i].place + std::to_string(port));
    return addresses;
}

} // namespace

/// One board, present or not.
class Sampler::BoardSampler {
public:
    BoardSampler(const BoardAccess& access, Board board, const SamplerOptions& options)
        : access_(access), index_(board.index()), ports_(board.gigePorts()) {
        open(std::move(board));
        if (options.linkInterval.count() > 0 && ports_ != 0)
            links_.emplace(access.libraries, index_, ports_, options.linkInterval);
    }

    void addSamples(std::vector<PortSample>& samples, std::vector<std::string>& news) {
        if (!board_ && reopen()) news.push_back(named() + " is back");
        const auto first = samples.size();
        answered_ = false;
        for (unsigned port = 0; port < ports_; ++port) samples.push_back({{index_, port}, sampleOf(port)});
        if (!board_ || ports_ == 0 || answered_) return;
        if (reopen()) return; // only the handle had become invalid
        news.push_back(named() + " is gone; it is waited for");
        for (unsigned port = 0; port < ports_; ++port) samples[first + port].sample = absent();
    }

private:
    std::string named() const { return "board " + std::to_string(index_); }

    void open(Board board) {
        serial_ = board.serial();
        addresses_.clear();
        for (unsigned port = 0; port < ports_; ++port) addresses_.push_back(addressesOf(board, port));
        board_ = std::move(board);
    }

    bool reopen() {
        board_.reset();
        if (auto board = Board::at(access_.libraries, index_)) open(std::move(*board));
        return board_.has_value();
    }

    Sample absent() const {
        Sample sample{.seconds = access_.seconds()};
        sample[Counter::Present] = 0;
        return sample;
    }

    Sample sampleOf(unsigned port) {
        if (!board_) return absent();
        Sample sample{.seconds = access_.seconds(), .serial = serial_};
        sample[Counter::Present] = 1;
        for (std::size_t i = 0; i < counterCount; ++i) addBoard(i, port, sample);
        if (links_) addLink(port, sample);
        if (access_.simulator) addSimulator(port, sample);
        return sample;
    }

    void addBoard(std::size_t which, unsigned port, Sample& sample) {
        const auto& row = counterRows[which];
        std::optional<std::uint64_t> value;
        if (row.source == CounterSource::FirmwareRegister && addresses_[port][which] != 0)
            value = board_->read(addresses_[port][which]);
        if (row.source == CounterSource::LostWordsOfQueue) value = board_->lostWords(row.firstQueue + port);
        if (!value) return;
        sample.values[which] = value;
        answered_ = true;
    }

    void addLink(unsigned port, Sample& sample) const {
        const auto link = links_->at(port);
        if (!link) return;
        if (link->up) sample[Counter::LinkUp] = *link->up ? 1 : 0;
        sample[Counter::LinkSpeed] = link->bitsPerSecond;
        sample[Counter::IdleErrors] = link->idleErrors;
    }

    /// The simulated board reports its links directly, and more recently than the poller.
    void addSimulator(unsigned port, Sample& sample) const {
        const auto state = access_.simulator->state({index_, port});
        if (!state) return;
        for (std::size_t i = 0; i < counterCount; ++i)
            if (const auto field = counterRows[i].field) sample.values[i] = (*state).*field;
        sample[Counter::LinkUp] = state->linkUp != 0 ? 1 : 0;
        sample[Counter::LinkSpeed] = static_cast<std::uint64_t>(state->linkMbit) * bitsPerMbit;
    }

    const BoardAccess& access_;
    const unsigned index_;
    const unsigned ports_;
    std::uint32_t serial_ = 0;
    std::optional<Board> board_; // nothing while it is gone
    std::vector<Addresses> addresses_;
    bool answered_ = false; // any read of the current round
    std::optional<LinkPoller> links_;
};

Sampler::Sampler(const BoardAccess& access, const SamplerOptions& options)
    : access_(access), options_(options) {
    findBoards();
    news_.clear(); // boards that were there from the beginning are no news
    if (!boards_.empty()) return;
    throw Failure((options.board ? "there is no board " + std::to_string(*options.board)
                                 : std::string("there is no board")) +
                  "; 'orvo-gige boards' lists what there is");
}

Sampler::~Sampler() = default;

std::vector<PortSample> Sampler::take() {
    if (std::chrono::steady_clock::now() - searchedAt_ >= searchPause) findBoards();
    std::vector<PortSample> samples;
    for (auto& [index, board] : boards_) board->addSamples(samples, news_);
    return samples;
}

std::vector<std::string> Sampler::takeNews() {
    return std::exchange(news_, {});
}

void Sampler::findBoards() {
    searchedAt_ = std::chrono::steady_clock::now();
    if (options_.board) return findBoard(*options_.board);
    for (unsigned index = 0; index < Board::indexLimit; ++index) findBoard(index);
}

void Sampler::findBoard(unsigned index) {
    if (boards_.contains(index)) return;
    auto board = Board::at(access_.libraries, index);
    if (!board) return;
    boards_.emplace(index, std::make_unique<BoardSampler>(access_, std::move(*board), options_));
    news_.push_back("board " + std::to_string(index) + " is there");
}

} // namespace orvo::host
