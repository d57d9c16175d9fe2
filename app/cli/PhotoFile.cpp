#include "app/cli/PhotoFile.h"

#include "scan/ReceivedPhoto.h"

#include <QDir>
#include <QTemporaryFile>

#include <stdexcept>

namespace kopertal {
namespace {

using namespace std::string_view_literals;

/// The ending of the image format whose signature the bytes begin with; empty for none.
QString imageEnding(std::string_view bytes) {
    struct Signature {
        std::size_t at;
        std::string_view mark;
        const char* ending;
    };
    static constexpr Signature signatures[] = {
        {0, "\xFF\xD8\xFF"sv, ".jpg"}, {0, "\x89PNG\r\n\x1A\n"sv, ".png"},
        {8, "WEBP"sv, ".webp"},        {4, "ftypavif"sv, ".avif"},
        {4, "ftyp"sv, ".heic"},        {0, "GIF8"sv, ".gif"},
        {0, "II*\0"sv, ".tiff"},       {0, "MM\0*"sv, ".tiff"}};
    for (const Signature& signature : signatures) {
        if (bytes.size() > signature.at && bytes.substr(signature.at).starts_with(signature.mark))
            return QString::fromLatin1(signature.ending);
    }
    return {};
}

} // namespace

PhotoFile photoFile(const ReceivedPhoto& photo) {
    for (const std::string_view bytes : {photo.whole(), photo.photo()}) {
        if (const QString ending = imageEnding(bytes); !ending.isEmpty())
            return {bytes, ending};
    }
    return {photo.whole(), QStringLiteral(".bin")};
}

QString savePhoto(const ReceivedPhoto& photo, const QString& folder, const QDateTime& arrival) {
    const PhotoFile contents = photoFile(photo);
    const QDir target(folder);
    QTemporaryFile file(target.filePath(QStringLiteral(".kopertal-XXXXXX")));
    const auto size = static_cast<qint64>(contents.bytes.size());
    if (!file.open() || file.write(contents.bytes.data(), size) != size || !file.flush())
        throw std::runtime_error(file.errorString().toStdString());
    // From here on a file with a name: QTemporaryFile::rename() loses one that has none when the
    // new name is taken.
    QFile complete(file.fileName());

    const QString stem =
        QStringLiteral("zdjecie_") + arrival.toString(QStringLiteral("yyyyMMdd_HHmmss"));
    QString path = target.absoluteFilePath(stem + contents.ending);
    for (int k = 1; !complete.rename(path); ++k) { // which never replaces a file
        if (!QFileInfo::exists(path) && !QFileInfo(path).isSymLink())
            throw std::runtime_error(complete.errorString().toStdString());
        path = target.absoluteFilePath(stem + u'_' + QString::number(k) + contents.ending);
    }
    file.setAutoRemove(false);
    return path;
}

} // namespace kopertal
