#include "scan/PhotoFormat.h"

#include <QtEndian>

#include <algorithm>
#include <array>

namespace kopertal {
namespace {

template <typename Integer>
Integer littleEndian(QByteArrayView bytes, qsizetype at) {
    return qFromLittleEndian<Integer>(bytes.data() + at);
}

bool isHeif(QByteArrayView bytes) {
    static constexpr std::array<QByteArrayView, 10> brands{"heic", "heix", "heim", "heis", "hevc",
                                                           "hevx", "mif1", "msf1", "avif", "avis"};
    return bytes.size() >= 12 && bytes.sliced(4, 4) == "ftyp" &&
           std::ranges::find(brands, bytes.sliced(8, 4)) != brands.end();
}

/// Chunks up to the one that ends the picture.
bool isWholePng(QByteArrayView bytes) {
    constexpr qsizetype frame = 12; // length, name, checksum
    for (qsizetype at = 8; bytes.size() - at >= frame;) {
        if (bytes.sliced(at + 4, 4) == "IEND")
            return true;
        const qsizetype length = qFromBigEndian<quint32>(bytes.data() + at);
        if (length > bytes.size() - at - frame)
            return false;
        at += frame + length;
    }
    return false;
}

/// Blocks up to the end of the first frame, the only one that is read.
bool isWholeGif(QByteArrayView bytes) {
    constexpr qsizetype header = 13;
    constexpr char extension = 0x21;
    constexpr char picture = 0x2c;
    const auto colourTable = [](char flags) -> qsizetype {
        return (flags & 0x80) != 0 ? qsizetype(3) << ((flags & 7) + 1) : 0;
    };
    if (bytes.size() < header)
        return false;
    qsizetype at = header + colourTable(bytes[10]);
    const auto skipBlocks = [&] {
        while (at < bytes.size()) {
            const auto length = static_cast<uchar>(bytes[at]);
            at += 1 + length;
            if (length == 0)
                return true;
        }
        return false;
    };
    while (at < bytes.size()) {
        if (bytes[at] == extension) {
            at += 2;
            if (!skipBlocks())
                return false;
        } else if (bytes[at] == picture && bytes.size() - at > 10) {
            at += 11 + colourTable(bytes[at + 9]); // and the code size
            return skipBlocks() && at <= bytes.size();
        } else {
            return false;
        }
    }
    return false;
}

/// Rows that are not compressed take what the header says; compressed ones are refused.
bool isWholeBmp(QByteArrayView bytes) {
    if (bytes.size() < 54)
        return false;
    const auto offset = littleEndian<quint32>(bytes, 10);
    const auto headerSize = littleEndian<quint32>(bytes, 14);
    const qint64 width = littleEndian<qint32>(bytes, 18);
    const qint64 height = std::abs(qint64(littleEndian<qint32>(bytes, 22)));
    const qint64 bits = littleEndian<quint16>(bytes, 28);
    const auto compression = littleEndian<quint32>(bytes, 30);
    constexpr quint32 plain = 0;
    constexpr quint32 bitFields = 3;
    if (headerSize < 40 || width <= 0 || bits == 0 ||
        (compression != plain && compression != bitFields))
        return false;
    const qint64 row = (width * bits + 31) / 32 * 4;
    return offset <= bytes.size() && height <= (bytes.size() - offset) / row;
}

bool isWholeWebp(QByteArrayView bytes) {
    return bytes.size() >= 12 && littleEndian<quint32>(bytes, 4) <= bytes.size() - 8;
}

} // namespace

PhotoFormat photoFormat(QByteArrayView bytes) {
    if (bytes.startsWith("\xff\xd8\xff"))
        return PhotoFormat::jpeg;
    if (bytes.startsWith("\x89PNG\r\n\x1a\n"))
        return PhotoFormat::png;
    if (bytes.startsWith("RIFF") && bytes.size() >= 12 && bytes.sliced(8, 4) == "WEBP")
        return PhotoFormat::webp;
    if (bytes.startsWith(QByteArrayView("II*\0", 4)) ||
        bytes.startsWith(QByteArrayView("MM\0*", 4)))
        return PhotoFormat::tiff;
    if (bytes.startsWith("BM"))
        return PhotoFormat::bmp;
    if (bytes.startsWith("GIF87a") || bytes.startsWith("GIF89a"))
        return PhotoFormat::gif;
    return isHeif(bytes) ? PhotoFormat::heif : PhotoFormat::unknown;
}

bool isWhole(QByteArrayView bytes, PhotoFormat format) {
    switch (format) {
    case PhotoFormat::png:
        return isWholePng(bytes);
    case PhotoFormat::gif:
        return isWholeGif(bytes);
    case PhotoFormat::bmp:
        return isWholeBmp(bytes);
    case PhotoFormat::webp:
        return isWholeWebp(bytes);
    default:
        return true;
    }
}

} // namespace kopertal
