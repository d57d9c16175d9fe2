#include "engine/AddressFile.h"

#include "engine/EngineError.h"

#include <QIODevice>
#include <QSysInfo>

#include <iconv.h>
#include <memory>

namespace kopertal {
namespace {

/// Qt's decoders replace or invent what a code page leaves undefined; iconv refuses it.
std::optional<QString> decodeStrictly(QByteArrayView bytes, const char* charset) {
    constexpr auto utf16 = QSysInfo::ByteOrder == QSysInfo::LittleEndian ? "UTF-16LE" : "UTF-16BE";
    const iconv_t handle = iconv_open(utf16, charset);
    if (handle ==
        reinterpret_cast<iconv_t>(-1)) // NOLINT(performance-no-int-to-ptr): iconv's own value
        return std::nullopt;
    const auto close = [](void* converter) { iconv_close(converter); };
    const std::unique_ptr<void, decltype(close)> closer(handle, close);

    QString text(bytes.size(),
                 Qt::Uninitialized); // no byte of the three becomes more than one unit
    char* in = const_cast<char*>(bytes.data());
    size_t inLeft = static_cast<size_t>(bytes.size());
    char* out = reinterpret_cast<char*>(text.data());
    size_t outLeft = static_cast<size_t>(text.size()) * sizeof(QChar);
    if (iconv(handle, &in, &inLeft, &out, &outLeft) == static_cast<size_t>(-1))
        return std::nullopt;
    text.chop(static_cast<qsizetype>(outLeft / sizeof(QChar)));
    return text;
}

/// CR LF and CR become LF, in one pass.
void normaliseLineEnds(QString& text) {
    QChar* out = text.data();
    const QChar* const end = text.constEnd();
    for (const QChar* in = text.constBegin(); in != end; ++in) {
        if (*in == u'\r' && in + 1 != end && in[1] == u'\n')
            continue;
        *out++ = *in == u'\r' ? QChar(u'\n') : *in;
    }
    text.truncate(out - text.constData());
}

} // namespace

std::optional<QString> decodeAddresses(QByteArrayView bytes) {
    const bool isUtf16 = bytes.startsWith("\xff\xfe") || bytes.startsWith("\xfe\xff");
    for (const char* charset : {isUtf16 ? "UTF-16" : "UTF-8", "CP1250", "ISO-8859-2"}) {
        std::optional<QString> text = decodeStrictly(bytes, charset);
        if (!text || text->contains(QChar::Null))
            continue;
        if (text->startsWith(QChar::ByteOrderMark))
            text->remove(0, 1);
        normaliseLineEnds(*text);
        return text;
    }
    return std::nullopt;
}

QString readAddresses(QIODevice& source, const QString& name) {
    constexpr qsizetype chunkBytes = 1 << 20;
    QByteArray bytes;
    for (;;) {
        const qsizetype filled = bytes.size();
        bytes.resize(filled + chunkBytes);
        const qint64 count = source.read(bytes.data() + filled, chunkBytes);
        if (count < 0)
            throw FileError(name, source.errorString());
        bytes.resize(filled + count);
        if (count == 0)
            break;
        if (bytes.size() > maxAddressFileBytes)
            throw FileError(name, QStringLiteral("plik jest większy niż 64 MB"));
    }
    std::optional<QString> text = decodeAddresses(bytes);
    if (!text)
        throw FileError(name, QStringLiteral("to nie jest plik tekstowy"));
    return *std::move(text);
}

} // namespace kopertal
