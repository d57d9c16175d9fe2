#pragma once

#include "app/BuildConfig.h"

#include <QtGlobal>

/// Makes `run` (of the type kopertal::ModuleRun) the job of the module it is compiled into.
#define KOPERTAL_MODULE(run)                                                                       \
    extern "C" Q_DECL_EXPORT int kopertalRun(int& count, char** arguments);                        \
    int kopertalRun(int& count, char** arguments) {                                                \
        return run(count, arguments);                                                              \
    }

/// Names the version of a module that the running window loads late: the files may have been
/// replaced by a newer version's meanwhile.
#define KOPERTAL_LATE_MODULE                                                                       \
    extern "C" Q_DECL_EXPORT const char* kopertalVersion();                                        \
    const char* kopertalVersion() {                                                                \
        return KOPERTAL_VERSION;                                                                   \
    }
