#include "app/common/LateModule.h"

#include "app/BuildConfig.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QLoggingCategory>

#include <dlfcn.h>

namespace kopertal {
namespace {

Q_LOGGING_CATEGORY(moduleLog, "kopertal.module", QtWarningMsg)

bool isOfThisVersion(void* library) {
    using Version = const char*();
    auto* const version = reinterpret_cast<Version*>(dlsym(library, "kopertalVersion"));
    return version != nullptr && qstrcmp(version(), KOPERTAL_VERSION) == 0;
}

} // namespace

LateFunction lateFunction(const char* module, const char* symbol) {
    const QString path =
        QStringLiteral("%1/../lib/kopertal/%2.so")
            .arg(QCoreApplication::applicationDirPath(), QLatin1StringView(module));
    QElapsedTimer timer;
    timer.start();
    void* const library = dlopen(QFile::encodeName(path).constData(), RTLD_NOW | RTLD_LOCAL);
    if (library != nullptr && !isOfThisVersion(library))
        return {nullptr, QStringLiteral("Program został zaktualizowany, odkąd otwarto to okno. "
                                        "Zamknij je i otwórz ponownie.")};
    void* const address = library == nullptr ? nullptr : dlsym(library, symbol);
    if (address == nullptr)
        return {nullptr, QStringLiteral("Program jest zainstalowany niecałkowicie: %1")
                             .arg(QString::fromLocal8Bit(dlerror()))};
    qCInfo(moduleLog, "wczytano moduł %s w %lld ms", module, timer.elapsed());
    return {address, {}};
}

} // namespace kopertal
