#include "app/printing/LoadedPrintWork.h"

#include <QCoreApplication>
#include <QFile>

#include <dlfcn.h>
#include <utility>

namespace kopertal {
namespace {

class NoPrintWork : public PrintWork {
public:
    explicit NoPrintWork(const char* reason)
        : m_reason(QStringLiteral("Program jest zainstalowany niecałkowicie: %1")
                       .arg(QString::fromLocal8Bit(reason))) {}

    PrintSetup lookUp(const QString&, const std::stop_token&) override {
        PrintSetup setup;
        setup.error = m_reason;
        return setup;
    }

    PrintResult print(const PrintOrder&, const PrintProgress&, const std::stop_token&) override {
        PrintResult result;
        result.error = m_reason;
        return result;
    }

private:
    QString m_reason;
};

} // namespace

std::unique_ptr<PrintWork> loadPrintWork() {
    const QString path =
        QCoreApplication::applicationDirPath() + QStringLiteral("/../lib/kopertal/print.so");
    void* const module = dlopen(QFile::encodeName(path).constData(), RTLD_NOW | RTLD_LOCAL);
    void* const make = module == nullptr ? nullptr : dlsym(module, "kopertalPrintWork");
    if (make == nullptr)
        return std::make_unique<NoPrintWork>(dlerror());
    return std::unique_ptr<PrintWork>(reinterpret_cast<MakePrintWork>(make)());
}

} // namespace kopertal
