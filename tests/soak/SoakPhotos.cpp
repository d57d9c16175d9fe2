// SoakPhotos FOLDER: writes the photos that the phones of soak.py send.
#include "tests/support/photo/RegisterPhoto.h"

#include <QDir>
#include <QFile>

using namespace kopertal::test;

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    const QDir folder(QFile::decodeName(argv[1]));
    const Subject subjects[] = {Subject::page, Subject::closeUp, Subject::codeless,
                                Subject::matrices};
    quint64 seed = 0;
    for (const double megapixels : {2.0, 5.0, 12.0}) {
        for (const Subject subject : subjects) {
            QFile file(folder.filePath(QStringLiteral("%1.jpg").arg(++seed)));
            const RegisterPhoto photo =
                makeRegisterPhoto({seed, Difficulty::easy, subject, megapixels});
            if (!file.open(QIODevice::WriteOnly) || file.write(photo.jpeg) != photo.jpeg.size())
                return 1;
        }
    }
    return 0;
}
