#pragma once

#include <chrono>
#include <cstddef>

namespace kopertal {

/// What one recognition process may take.
struct WorkerLimits {
    std::size_t memory = std::size_t(768) << 20; ///< A 48-megapixel photo takes half.
    std::chrono::seconds processor{20};          ///< Of all its threads; it may answer for 5 more.
    std::chrono::seconds total{30};              ///< Once it has its photo.
};

} // namespace kopertal
