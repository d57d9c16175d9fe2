#include "app/shell/FontReading.h"

#include <QFontDatabase>
#include <QStringList>

#include <fontconfig/fontconfig.h>
#include <system_error>

namespace kopertal {
namespace {

/// Without a thread to be had, the first text reads the fonts itself.
std::jthread started(void (*work)()) {
    try {
        return std::jthread(work);
    } catch (const std::system_error&) {
        return {};
    }
}

} // namespace

FontReading::FontReading() : m_thread(started([] { FcInit(); })) {
}

std::jthread FontReading::applicationExists() {
    m_thread = {}; // which waits for the configuration
    return started([] { QFontDatabase::families(); });
}

} // namespace kopertal
