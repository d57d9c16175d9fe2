#include "app/addresses/AddressLoading.h"

#include "app/addresses/TextBounds.h"
#include "engine/AddressFile.h"
#include "engine/RegularFile.h"

#include <QFile>
#include <QtConcurrentRun>

#include <exception>

namespace kopertal {
namespace {

constexpr qint64 mostBytesOfAUnit = 3; // UTF-8 of what UTF-16 holds in one unit

LoadedAddresses load(const QString& path) {
    try {
        QFile file(path);
        openRegular(file);
        if (file.size() > maxEditorText * mostBytesOfAUnit)
            return {std::nullopt, editorRefusal({}, file.size())};
        QString text = readAddresses(file, path);
        QString refusal = editorRefusal(text, 0);
        if (!refusal.isEmpty())
            return {std::nullopt, std::move(refusal)};
        return {std::move(text), {}};
    } catch (const std::exception&) {
        return {};
    }
}

} // namespace

QFuture<LoadedAddresses> startLoading(const QString& path) {
    return QtConcurrent::run(load, path);
}

} // namespace kopertal
