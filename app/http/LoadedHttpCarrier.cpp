#include "app/http/LoadedHttpCarrier.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QLoggingCategory>

#include <dlfcn.h>
#include <exception>
#include <string>
#include <utility>

namespace kopertal {
namespace {

Q_LOGGING_CATEGORY(moduleLog, "kopertal.module", QtWarningMsg)

class NoCarrier : public HttpCarrier {
public:
    explicit NoCarrier(std::string reason) : m_reason(std::move(reason)) {}

    void send(HttpRequest, Completion completion) override {
        HttpAnswer answer;
        answer.failure = HttpFailure::other;
        answer.detail = m_reason;
        completion(std::move(answer));
    }

private:
    std::string m_reason;
};

} // namespace

std::unique_ptr<HttpCarrier> loadHttpCarrier(const HttpOptions& options) {
    const QString path =
        QCoreApplication::applicationDirPath() + QStringLiteral("/../lib/kopertal/http.so");
    QElapsedTimer timer;
    timer.start();
    void* const module = dlopen(QFile::encodeName(path).constData(), RTLD_NOW | RTLD_LOCAL);
    void* const make = module == nullptr ? nullptr : dlsym(module, "kopertalHttpCarrier");
    if (make == nullptr)
        return std::make_unique<NoCarrier>(dlerror());
    qCInfo(moduleLog, "wczytano moduł http w %lld ms", timer.elapsed());
    try {
        return std::unique_ptr<HttpCarrier>(reinterpret_cast<MakeHttpCarrier>(make)(options));
    } catch (const std::exception& error) {
        return std::make_unique<NoCarrier>(error.what());
    }
}

} // namespace kopertal
