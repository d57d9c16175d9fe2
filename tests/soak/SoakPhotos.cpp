// SoakPhotos FOLDER: writes the photos that the phones of soak.py send.
#include "tests/support/Files.h"
#include "tests/support/photo/RegisterPhoto.h"

using namespace kopertal::test;

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    const QString photo = QFile::decodeName(argv[1]) + QStringLiteral("/%1.jpg");
    quint64 seed = 0;
    for (const double size : {2.0, 5.0, 12.0}) {
        for (const Subject subject :
             {Subject::page, Subject::closeUp, Subject::codeless, Subject::matrices}) {
            ++seed;
            writeFile(photo.arg(seed),
                      makeRegisterPhoto({seed, Difficulty::easy, subject, size}).jpeg);
        }
    }
    return 0;
}
