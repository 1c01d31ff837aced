// SPDX-License-Identifier: MIT
// Registers, queues, PHYs and the simulated board, read board by board.
#include "inspect/watch/Sampler.h"

#include "base/Failure.h"

#include <algorithm>
#include <utility>

namespace orvo::host {
namespace {

using namespace std::chrono_literals;

constexpr auto lookPause = 5s; // between two looks for boards that were not there yet

using Addresses = std::array<std::uint32_t, counterCount>; // of registers; 0: lacking, or no register

Addresses addressesOf(const Board& board, unsigned port) {
    Addresses addresses{};
    for (std::size_t i = 0; i < counterCount; ++i)
        if (counterRows[i].source == CounterSource::FirmwareRegister)
            addresses[i] = board.registerAddress(counterRows[i].place + std::to_string(port));
    return addresses;
}

} // namespace

/// One board, there or not.
class Sampler::BoardSampler {
public:
    BoardSampler(const BoardAccess& session, Board board, const SamplerOptions& options)
        : session_(session), index_(board.index()), ports_(board.gigePorts()) {
        open(std::move(board));
        if (options.linkInterval.count() > 0 && ports_ != 0)
            phys_.emplace(session.libraries, index_, ports_, options.linkInterval);
    }

    void addSamples(std::vector<PortSample>& samples, std::vector<std::string>& news) {
        if (!board_) reopen(news);
        const auto first = samples.size();
        for (unsigned port = 0; port < ports_; ++port) samples.push_back({{index_, port}, sampleOf(port)});
        if (!board_ || ports_ == 0 || answered_) return;
        board_.reset(); // what is open may be no good any more
        if (auto again = Board::at(session_.libraries, index_)) {
            open(std::move(*again));
            return;
        }
        news.push_back("board " + std::to_string(index_) + " is gone; it is waited for");
        for (unsigned port = 0; port < ports_; ++port) samples[first + port].sample = absent();
    }

private:
    void open(Board board) {
        serial_ = board.serial();
        addresses_.clear();
        for (unsigned port = 0; port < ports_; ++port) addresses_.push_back(addressesOf(board, port));
        board_ = std::move(board);
    }

    void reopen(std::vector<std::string>& news) {
        auto board = Board::at(session_.libraries, index_);
        if (!board) return;
        open(std::move(*board));
        news.push_back("board " + std::to_string(index_) + " is back");
    }

    Sample absent() const {
        Sample sample{.seconds = session_.seconds()};
        sample[Counter::Present] = 0;
        return sample;
    }

    Sample sampleOf(unsigned port) {
        if (port == 0) answered_ = false;
        if (!board_) return absent();
        Sample sample{.seconds = session_.seconds(), .serial = serial_};
        sample[Counter::Present] = 1;
        for (std::size_t i = 0; i < counterCount; ++i) readBoard(i, port, sample);
        if (phys_) addPhy(port, sample);
        if (session_.simulator) addSimulator(port, sample);
        return sample;
    }

    void readBoard(std::size_t which, unsigned port, Sample& sample) {
        const auto& row = counterRows[which];
        std::optional<std::uint64_t> value;
        if (row.source == CounterSource::FirmwareRegister && addresses_[port][which] != 0)
            value = board_->read(addresses_[port][which]);
        if (row.source == CounterSource::LostWordsOfQueue) value = board_->lostWords(row.firstQueue + port);
        if (!value) return;
        sample.values[which] = value;
        answered_ = true;
    }

    void addPhy(unsigned port, Sample& sample) const {
        const auto look = phys_->at(port);
        if (!look) return;
        if (look->up) sample[Counter::LinkUp] = *look->up ? 1 : 0;
        sample[Counter::LinkSpeed] = look->bitsPerSecond;
        sample[Counter::IdleErrors] = look->idleErrors;
    }

    /// The simulated board knows its links better than any look at a PHY.
    void addSimulator(unsigned port, Sample& sample) const {
        const auto state = session_.simulator->state({index_, port});
        if (!state) return;
        for (std::size_t i = 0; i < counterCount; ++i)
            if (const auto field = counterRows[i].field) sample.values[i] = (*state).*field;
        sample[Counter::LinkUp] = state->linkUp != 0 ? 1 : 0;
        sample[Counter::LinkSpeed] = static_cast<std::uint64_t>(state->linkMbit) * bitsPerMbit;
    }

    const BoardAccess& session_;
    const unsigned index_;
    const unsigned ports_;
    std::uint32_t serial_ = 0;
    std::optional<Board> board_; // nothing while it is gone
    std::vector<Addresses> addresses_;
    bool answered_ = false; // to any question of the sample under way
    std::optional<PhyWatch> phys_;
};

Sampler::Sampler(const BoardAccess& session, const SamplerOptions& options)
    : session_(session), options_(options) {
    look();
    news_.clear(); // the first boards are none
    if (!boards_.empty()) return;
    throw Failure((options.board ? "there is no board " + std::to_string(*options.board)
                                 : std::string("there is no board")) +
                  "; 'orvo-gige boards' lists what there is");
}

Sampler::~Sampler() = default;

std::vector<PortSample> Sampler::take() {
    if (std::chrono::steady_clock::now() - lookedAt_ >= lookPause) look();
    std::vector<PortSample> samples;
    for (auto& [index, board] : boards_) board->addSamples(samples, news_);
    return samples;
}

std::vector<std::string> Sampler::takeNews() {
    return std::exchange(news_, {});
}

void Sampler::look() {
    lookedAt_ = std::chrono::steady_clock::now();
    if (options_.board) return lookFor(*options_.board);
    for (unsigned index = 0; index < Board::indexLimit; ++index) lookFor(index);
}

void Sampler::lookFor(unsigned index) {
    if (boards_.contains(index)) return;
    auto board = Board::at(session_.libraries, index);
    if (!board) return;
    boards_.emplace(index, std::make_unique<BoardSampler>(session_, std::move(*board), options_));
    news_.push_back("board " + std::to_string(index) + " is there");
}

} // namespace orvo::host
