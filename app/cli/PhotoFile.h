#pragma once

#include <QDateTime>
#include <QString>

#include <string_view>

namespace kopertal {

class ReceivedPhoto;

/// A photo's bytes as a file should hold them, and the ending that tells their format (".jpg", …;
/// ".bin" for none that is known).
struct PhotoFile {
    std::string_view bytes; ///< into the photo
    QString ending;
};

/// The whole upload when it begins as an image does, else its cut when that does, else the whole.
PhotoFile photoFile(const ReceivedPhoto& photo);

/// Writes the photo into `folder` under a new name made of `arrival`, never over another file and
/// visible only when complete and on the disk. Nobody but its owner may read it, whatever the
/// umask: photos show whom letters go to. Returns its path; throws std::runtime_error with the
/// reason in Polish, and leaves nothing behind.
QString savePhoto(const ReceivedPhoto& photo, const QString& folder, const QDateTime& arrival);

} // namespace kopertal
