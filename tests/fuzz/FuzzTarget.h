#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstdio>
#include <cstdlib>

/// Feeds one input to the code under test; aborts when it breaks a promise. libFuzzer gives it
/// inputs that it mutates (LibFuzzer.cpp), ordinary builds those of the corpus (ReplayCorpus.cpp).
void feed(QByteArrayView input);

/// Aborts, so that the input is kept, when `holds` is false. Unlike assert() it stays in every
/// build.
inline void require(bool holds, const char* promise) {
    if (holds)
        return;
    std::fprintf(stderr, "Broken promise: %s\n", promise);
    std::abort();
}
