#include "scan/UploadMemory.h"

#include <algorithm>
#include <new>
#include <sys/mman.h>
#include <utility>

namespace kopertal {

UploadMemory::UploadMemory(std::size_t bytes, Reservation reservation)
    : m_size(bytes), m_reservation(std::move(reservation)) {
    void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw std::bad_alloc();
    // In huge pages where there are any: most of the time of a large upload would otherwise go into
    // page faults.
    madvise(memory, bytes, MADV_HUGEPAGE);
    m_data = static_cast<char*>(memory);
}

UploadMemory::~UploadMemory() {
    munmap(m_data, m_size);
}

void UploadMemory::shrink(std::size_t bytes) {
    const std::size_t kept = std::max<std::size_t>(bytes, 1); // a mapping is never empty
    if (kept >= m_size || mremap(m_data, m_size, kept, 0) == MAP_FAILED)
        return;
    m_size = kept;
    m_reservation.shrink(kept);
}

} // namespace kopertal
