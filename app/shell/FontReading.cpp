#include "app/shell/FontReading.h"

#include <QFontDatabase>
#include <QStringList>

#include <fontconfig/fontconfig.h>
#include <sys/resource.h>
#include <system_error>

namespace kopertal {
namespace {

constexpr int behindTheWindow = 10; // a nice value: the first frame needs no font

std::jthread started(void (*work)()) {
    try {
        return std::jthread(work);
    } catch (const std::system_error&) {
        return {};
    }
}

} // namespace

std::jthread readFontConfiguration() {
    return started([] { FcInit(); });
}

std::jthread readFontList() {
    return started([] {
        setpriority(PRIO_PROCESS, 0, behindTheWindow); // of this thread alone
        QFontDatabase::families();
    });
}

} // namespace kopertal
