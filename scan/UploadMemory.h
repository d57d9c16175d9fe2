#pragma once

#include "scan/UploadBudget.h"

#include <cstddef>

namespace kopertal {

/// The memory of one upload, with its part of the budget. The system commits it as it fills, so
/// that a length that is only declared costs nothing, and takes it back at once.
class UploadMemory {
public:
    /// Throws std::bad_alloc when the system gives no memory. `bytes` is not 0.
    UploadMemory(std::size_t bytes, Reservation reservation);
    ~UploadMemory();
    UploadMemory(const UploadMemory&) = delete;
    UploadMemory& operator=(const UploadMemory&) = delete;

    char* data() const { return m_data; }

    /// Gives back what lies behind the first `bytes`, in place.
    void shrink(std::size_t bytes);

private:
    char* m_data;
    std::size_t m_size;
    Reservation m_reservation;
};

} // namespace kopertal
