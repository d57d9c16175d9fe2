#include "app/ModuleEntry.h"
#include "app/addresses/Generation.h"
#include "engine/EngineError.h"
#include "engine/OutputPath.h"
#include "engine/RegisterDocument.h"
#include "engine/RegisterPages.h"

#include <QDir>

#include <exception>
#include <new>
#include <openssl/crypto.h>

using namespace kopertal;

namespace {

/// libzip draws random numbers from libcrypto, whose state of a thread would go with the thread:
/// perhaps only while the program ends, which takes libcrypto down at the same time.
struct CryptoState {
    CryptoState() = default;
    CryptoState(const CryptoState&) = delete;
    CryptoState& operator=(const CryptoState&) = delete;
    ~CryptoState() { OPENSSL_thread_stop(); }
};

} // namespace

extern "C" Q_DECL_EXPORT void kopertalGenerate(const GenerationOrder& order,
                                               const std::stop_token& stop,
                                               GenerationResult& result);

void kopertalGenerate(const GenerationOrder& order, const std::stop_token& stop,
                      GenerationResult& result) {
    const CryptoState state;
    try {
        const QString path =
            uniqueURL(QDir(order.saveFolder).filePath(registerFileName(order.date)));
        fillTemplate(order.recipients, std::nullopt, path, order.senderName, order.senderAddress,
                     stop);
        result = {path, {}, order.recipients.size(), pageCount(order.recipients.size())};
    } catch (const Cancelled&) {
        return;
    } catch (const std::bad_alloc&) {
        result.error = QStringLiteral("Za mało pamięci.");
    } catch (const std::exception& error) {
        result.error = QString::fromUtf8(error.what());
    }
}

KOPERTAL_LATE_MODULE
