#include "app/Module.h"

#include "app/cli/Console.h"

#include <dlfcn.h>
#include <string>

namespace kopertal {

ModuleRun loadModule(const char* name) {
    const std::string path = std::string("$ORIGIN/../lib/kopertal/") + name + ".so";
    void* const module = dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL);
    void* const run = module == nullptr ? nullptr : dlsym(module, "kopertalRun");
    if (run == nullptr)
        printMessage(QStringLiteral("Program jest zainstalowany niecałkowicie: %1")
                         .arg(QString::fromLocal8Bit(dlerror())));
    return reinterpret_cast<ModuleRun>(run);
}

} // namespace kopertal
