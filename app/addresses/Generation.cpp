#include "app/addresses/Generation.h"

#include "app/common/LateModule.h"

#include <QtConcurrentRun>

#include <utility>

namespace kopertal {

QFuture<GenerationResult> startGeneration(GenerationOrder order, const std::stop_token& stop) {
    return QtConcurrent::run([order = std::move(order), stop] {
        GenerationResult result;
        const LateFunction generate = lateFunction("register", "kopertalGenerate");
        if (generate.address == nullptr)
            result.error = generate.problem;
        else
            generate.as<Generate>()(order, stop, result);
        return result;
    });
}

} // namespace kopertal
