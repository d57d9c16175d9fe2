// TARGET COUNT FOLDER: runs the fuzz target once over every file of its corpus, then over COUNT
// damaged copies of them, always the same. Fails when there is no file, so that a lost corpus is
// noticed.
#include "tests/fuzz/FuzzTarget.h"
#include "tests/support/Files.h"

#include <QDir>

#include <algorithm>
#include <random>

namespace {

/// A damaged copy of one of the files.
QByteArray damaged(const QList<QByteArray>& files) {
    static std::mt19937 random;
    const auto below = [](qsizetype end) {
        return static_cast<qsizetype>(random() % static_cast<size_t>(std::max<qsizetype>(1, end)));
    };
    QByteArray file = files[below(files.size())];
    for (qsizetype changes = below(3); changes >= 0; --changes) {
        // Headers are where most goes wrong; what comes later gets farther.
        const qsizetype size = below(3) > 0 ? file.size() : std::min<qsizetype>(file.size(), 512);
        const qsizetype at = below(size);
        const QByteArray& other = files[below(files.size())];
        switch (below(5)) {
        case 0:
            file = file.first(at) + other.mid(at);
            break;
        case 1:
            file.truncate(at);
            break;
        case 2: // which takes away or adds, too
            file.replace(at, below(64), other.mid(below(other.size()), below(64)));
            break;
        case 3:
            file.replace(at, 16, QByteArray(16, below(2) == 0 ? '\0' : '\xff'));
            break;
        default:
            for (qsizetype i = below(16); i >= 0 && !file.isEmpty(); --i)
                file[below(size)] = static_cast<char>(random());
        }
    }
    return file;
}

} // namespace

int main(int argc, char** argv) {
    require(argc == 3, "a count and a folder are named");
    QList<QByteArray> files;
    for (const QFileInfo& file : QDir(QFile::decodeName(argv[2])).entryInfoList(QDir::Files)) {
        std::fprintf(stderr, "%s\n", qPrintable(file.fileName()));
        files << kopertal::test::contentsOf(file.filePath());
        feed(files.last());
    }
    require(!files.isEmpty(), "the corpus is not empty");
    for (int i = 0; i < QByteArray(argv[1]).toInt(); ++i) {
        std::fprintf(stderr, "%d\n", i);
        feed(damaged(files));
    }
    return 0;
}
