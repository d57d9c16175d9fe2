#include "app/Module.h"

#include "app/cli/Console.h"

#include <QElapsedTimer>
#include <QLoggingCategory>

#include <dlfcn.h>
#include <filesystem>
#include <string>
#include <system_error>

namespace kopertal {
namespace {

Q_LOGGING_CATEGORY(moduleLog, "kopertal.module", QtWarningMsg)

} // namespace

ModuleRun loadModule(const char* name) {
    // $ORIGIN would be resolved for the caller of dlopen(), which a sanitizer puts itself between.
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path path =
        program.parent_path() / "../lib/kopertal" / (std::string(name) + ".so");
    QElapsedTimer timer;
    timer.start();
    void* const module = dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL);
    void* const run = module == nullptr ? nullptr : dlsym(module, "kopertalRun");
    if (run == nullptr)
        printMessage(QStringLiteral("Program jest zainstalowany niecałkowicie: %1")
                         .arg(QString::fromLocal8Bit(dlerror())));
    else
        qCInfo(moduleLog, "wczytano moduł %s w %lld ms", name, timer.elapsed());
    return reinterpret_cast<ModuleRun>(run);
}

} // namespace kopertal
