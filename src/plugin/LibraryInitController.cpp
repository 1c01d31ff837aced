// SPDX-License-Identifier: MIT
#include "plugin/LibraryInitController.h"

#include "platform/GuardedSingleton.h"

#include <atomic>
#include <memory>

namespace orvo::core::zume {

std::uint32_t LibraryInitController::useCount_ = 0;
LibraryInitController* LibraryInitController::controller_ = nullptr;
int LibraryInitController::lock_ = 0;
pthread_t LibraryInitController::lockOwner_ = 0;

void LibraryInitController::beginUse() {
    std::atomic_ref count(useCount_);
    if (++count == 1) controller_ = new LibraryInitController();
}

void LibraryInitController::endUse() {
    std::atomic_ref count(useCount_);
    if (count-- != 1) return;
    const std::unique_ptr<LibraryInitController> last(controller_);
    if (last) last->tearDown();
    controller_ = nullptr;
}

void LibraryInitController::addDeinitFunction(DeinitFunction function) {
    if (controller_) controller_->deinitFunctions_.push_front(function);
}

void LibraryInitController::registerSingleton(GuardedSingletonBase* singleton) {
    if (controller_) controller_->singletons_.push_front(singleton);
}

std::uint32_t LibraryInitController::useCount() noexcept {
    return std::atomic_ref(useCount_).load(std::memory_order_relaxed);
}

void LibraryInitController::tearDown() {
    for (const auto function : deinitFunctions_) function();
    // A destructor may create a singleton, which goes to the front: the loop has passed it and leaves it
    // alone.
    for (GuardedSingletonBase* const singleton : singletons_) {
        void** instance = nullptr;
        singleton->preDestruct();
        singleton->getStaticMemberPointers(&instance);
        delete singleton;
        if (instance) *instance = nullptr;
    }
}

} // namespace orvo::core::zume

namespace orvo::templates::platform {

void registerForTeardown(GuardedSingletonBase* singleton) {
    const core::zume::LibraryInitController::Lock lock;
    core::zume::LibraryInitController::registerSingleton(singleton);
}

} // namespace orvo::templates::platform
