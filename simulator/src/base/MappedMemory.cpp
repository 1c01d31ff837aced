// SPDX-License-Identifier: MIT
#include "base/MappedMemory.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace orvo::sim {

namespace {

void require(bool good) {
    if (!good) throw std::system_error(errno, std::generic_category(), "memory of a shared board");
}

} // namespace

MappedMemory MappedMemory::shareable(const char* name, std::size_t bytes, Access forOthers) {
    Descriptor memory(memfd_create(name, MFD_CLOEXEC | MFD_ALLOW_SEALING));
    require(memory.get() >= 0 && ftruncate(memory.get(), static_cast<off_t>(bytes)) == 0);
    MappedMemory mapped(std::move(memory), bytes, Access::ReadWrite);
    // Once this process has mapped it: the seal against writing concerns later mappings.
    const int seals = F_SEAL_SHRINK | F_SEAL_GROW | (forOthers == Access::ReadOnly ? F_SEAL_FUTURE_WRITE : 0);
    require(fcntl(mapped.descriptor(), F_ADD_SEALS, seals | F_SEAL_SEAL) == 0);
    return mapped;
}

MappedMemory MappedMemory::of(Descriptor memory, Access access) {
    struct stat status {};
    require(fstat(memory.get(), &status) == 0);
    return {std::move(memory), static_cast<std::size_t>(status.st_size), access};
}

MappedMemory::MappedMemory(Descriptor memory, std::size_t bytes, Access access)
    : memory_(std::move(memory)), bytes_(bytes) {
    const int protection = access == Access::ReadOnly ? PROT_READ : PROT_READ | PROT_WRITE;
    void* const mapped = mmap(nullptr, bytes, protection, MAP_SHARED, memory_.get(), 0);
    require(mapped != MAP_FAILED);
    data_ = static_cast<std::byte*>(mapped);
}

MappedMemory::~MappedMemory() {
    if (data_) munmap(data_, bytes_);
}

MappedMemory::MappedMemory(MappedMemory&& other) noexcept
    : memory_(std::move(other.memory_)), bytes_(other.bytes_), data_(std::exchange(other.data_, nullptr)) {}

} // namespace orvo::sim
