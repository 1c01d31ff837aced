// SPDX-License-Identifier: MIT
// Bookkeeping of loggers, facilities and subscriptions.
#include "Dispatcher.h"

#include <algorithm>

namespace orvo::dispatcher {

using tools::logging::DispatcherDetached;
using tools::logging::Logging;
using tools::logging::SetLoggerLevel;

Dispatcher::Dispatcher(Settings settings)
    : settings_(std::move(settings)), outputs_(settings_.logFile),
      audience_(std::make_shared<const Subscriptions>()) {
    addEntry("root");
}

void Dispatcher::attach(Logging* facility, DispatcherDetached detached, SetLoggerLevel setLevel) {
    const std::lock_guard lock(facilitiesLock_);
    facilities_.insert_or_assign(facility, Facility{detached, setLevel});
}

void Dispatcher::detach(Logging* facility) {
    const std::lock_guard lock(facilitiesLock_);
    facilities_.erase(facility);
}

void Dispatcher::detachAll() {
    const std::lock_guard lock(facilitiesLock_);
    const auto facilities = std::exchange(facilities_, {}); // a callback may call detach
    for (const auto& [facility, entries] : facilities)
        if (entries.detached) entries.detached();
}

Dispatcher::Logger Dispatcher::lookup(const char* name) {
    const std::lock_guard lock(stateLock_);
    const auto [place, added] = handles_.try_emplace(name ? name : "", entries_.size());
    if (added) addEntry(place->first);
    return {place->second, entries_[place->second].threshold};
}

Dispatcher::Entry& Dispatcher::addEntry(const std::string& name) {
    auto& entry =
        entries_.emplace_back(Entry{name, settings_.thresholds.of(name), 0, outputs_.linesOf(name)});
    entry.threshold = wantedThreshold(entry);
    return entry;
}

std::uint32_t Dispatcher::wantedThreshold(const Entry& entry) const {
    auto lowest = entry.outputThreshold;
    for (const auto& [id, subscription] : *audience_)
        if (subscription->covers(entry.name)) lowest = std::min(lowest, subscription->level());
    return lowest;
}

void Dispatcher::emit(std::uint64_t handle, std::uint32_t level, const char* message) {
    if (!message) return;
    const auto [entry, subscriptions] = audience(handle);
    bool kept = false;
    for (const auto& [id, subscription] : *subscriptions)
        kept = subscription->deliver(entry->name, level, message) || kept;
    if (level >= entry->outputThreshold) entry->lines->write(level, message, !kept);
}

// The entry's fields that messages need never change, and a deque does not move what it holds.
std::pair<const Dispatcher::Entry*, std::shared_ptr<const Dispatcher::Subscriptions>>
Dispatcher::audience(std::uint64_t handle) {
    const std::lock_guard lock(stateLock_);
    return {&entries_[handle < entries_.size() ? handle : 0], audience_};
}

std::uint64_t Dispatcher::subscribe(const char* loggerName, std::uint32_t level, OrvoLogCallback callback,
                                    void* context) {
    if (!callback) return 0;
    const auto subscription = std::make_shared<Subscription>(loggerName, level, callback, context);
    const std::lock_guard lock(facilitiesLock_);
    std::unique_lock stateLock(stateLock_);
    auto subscriptions = std::make_shared<Subscriptions>(*audience_);
    const auto id = ++lastSubscription_;
    subscriptions->emplace(id, subscription);
    audience_ = std::move(subscriptions);
    const auto changed = changedThresholds();
    stateLock.unlock();
    tellFacilities(changed);
    return id;
}

bool Dispatcher::unsubscribe(std::uint64_t id) {
    std::shared_ptr<Subscription> ended;
    {
        const std::lock_guard lock(facilitiesLock_);
        std::unique_lock stateLock(stateLock_);
        const auto found = audience_->find(id);
        if (found == audience_->end()) return false;
        ended = found->second;
        auto subscriptions = std::make_shared<Subscriptions>(*audience_);
        subscriptions->erase(id);
        audience_ = std::move(subscriptions);
        const auto changed = changedThresholds();
        stateLock.unlock();
        tellFacilities(changed);
    }
    ended->end(); // outside the locks: the callback that it waits for may itself subscribe or unsubscribe
    return true;
}

std::vector<Dispatcher::Logger> Dispatcher::changedThresholds() {
    std::vector<Logger> changed;
    for (std::size_t handle = 0; handle < entries_.size(); ++handle) {
        auto& entry = entries_[handle];
        const auto wanted = wantedThreshold(entry);
        if (wanted == entry.threshold) continue;
        entry.threshold = wanted;
        changed.push_back({handle, wanted});
    }
    return changed;
}

void Dispatcher::tellFacilities(const std::vector<Logger>& loggers) {
    const auto facilities = facilities_; // a callback may call detach
    for (const auto& [facility, entries] : facilities)
        for (const auto& logger : loggers)
            if (entries.setLevel) entries.setLevel(logger.handle, logger.threshold);
}

} // namespace orvo::dispatcher
