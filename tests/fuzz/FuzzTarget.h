#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// Feeds one input to the code under test; aborts when it breaks a promise. libFuzzer calls it with
/// inputs that it mutates, ordinary builds with those of the corpus (ReplayCorpus.cpp).
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Aborts, so that the input is kept, when `holds` is false. Unlike assert() it stays in every
/// build.
inline void require(bool holds, const char* promise) {
    if (holds)
        return;
    std::fprintf(stderr, "Broken promise: %s\n", promise);
    std::abort();
}
