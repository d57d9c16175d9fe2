#pragma once

#include <QtGlobal>

/// Makes `run` (of the type kopertal::ModuleRun) the job of the module it is compiled into.
#define KOPERTAL_MODULE(run)                                                                       \
    extern "C" Q_DECL_EXPORT int kopertalRun(int& count, char** arguments);                        \
    int kopertalRun(int& count, char** arguments) {                                                \
        return run(count, arguments);                                                              \
    }
