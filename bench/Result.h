#pragma once

#include <cstdio>
#include <cstdlib>

namespace kopertal::bench {

/// A promise and what was measured, for the table of scripts/bench. Texts are plain: without
/// quotation marks and backslashes.
struct Result {
    const char* promise;
    double figure;
    const char* unit = "";
    const char* reference = nullptr; ///< What it is compared with, if anything.
    double referenceFigure = 0;      ///< In the same unit.
    double ratio = 0;                ///< To the reference; 0 for none.
    const char* relation = nullptr;  ///< "<=" or ">="; null when there is nothing to reach.
    double mark = 0;                 ///< Of the ratio when there is one, else of the figure.
};

/// Adds the result as a line of JSON to the file that KOPERTAL_BENCH_RESULTS names, if it names
/// one. Ends the process when that cannot be written.
inline void record(const Result& result) {
    const char* path = std::getenv("KOPERTAL_BENCH_RESULTS");
    if (!path)
        return;
    std::FILE* file = std::fopen(path, "a");
    if (!file) {
        std::perror(path);
        std::exit(EXIT_FAILURE);
    }
    std::fprintf(file, R"({"promise": "%s", "figure": %.6g, "unit": "%s")", result.promise,
                 result.figure, result.unit);
    if (result.reference)
        std::fprintf(file, R"(, "reference": "%s", "reference_figure": %.6g)", result.reference,
                     result.referenceFigure);
    if (result.ratio > 0)
        std::fprintf(file, R"(, "ratio": %.6g)", result.ratio);
    if (result.relation)
        std::fprintf(file, R"(, "relation": "%s", "mark": %.6g)", result.relation, result.mark);
    std::fputs("}\n", file);
    if (std::fclose(file) != 0) {
        std::perror(path);
        std::exit(EXIT_FAILURE);
    }
}

} // namespace kopertal::bench
