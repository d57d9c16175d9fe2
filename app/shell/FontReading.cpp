#include "app/shell/FontReading.h"

#include <QFontDatabase>
#include <QStringList>

#include <fontconfig/fontconfig.h>
#include <system_error>

namespace kopertal {
namespace {

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
    return started([] { QFontDatabase::families(); });
}

} // namespace kopertal
