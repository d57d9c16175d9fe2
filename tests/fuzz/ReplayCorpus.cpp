#include "tests/fuzz/FuzzTarget.h"

#include <QDirIterator>
#include <QFile>

/// Runs the fuzz target once over every file below the folders named on the command line. Fails
/// when there is none, so that a lost corpus is noticed.
int main(int argc, char** argv) {
    int inputs = 0;
    for (int i = 1; i < argc; ++i) {
        QDirIterator walk(QFile::decodeName(argv[i]), QDir::Files, QDirIterator::Subdirectories);
        while (walk.hasNext()) {
            QFile file(walk.next());
            std::fprintf(stderr, "%s\n", qPrintable(file.fileName()));
            require(file.open(QIODevice::ReadOnly), "the corpus can be read");
            const QByteArray bytes = file.readAll();
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                                   static_cast<std::size_t>(bytes.size()));
            ++inputs;
        }
    }
    require(inputs > 0, "the corpus is not empty");
    return 0;
}
