// TARGET COUNT FOLDER: runs the fuzz target once over every file of its corpus, then over COUNT
// damaged copies of them, always the same. Fails when there is no file, so that a lost corpus is
// noticed.
#include "tests/fuzz/Damage.h"
#include "tests/fuzz/FuzzTarget.h"
#include "tests/support/Files.h"

#include <QDir>

namespace {

void run(const QByteArray& bytes, const char* name) {
    std::fprintf(stderr, "%s\n", name);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                           static_cast<std::size_t>(bytes.size()));
}

} // namespace

int main(int argc, char** argv) {
    require(argc == 3, "a count and a folder are named");
    const QDir corpus(QFile::decodeName(argv[2]));
    QList<QByteArray> files;
    for (const QString& name : corpus.entryList(QDir::Files, QDir::Name)) {
        files << kopertal::test::contentsOf(corpus.filePath(name));
        run(files.last(), qPrintable(name));
    }
    require(!files.isEmpty(), "the corpus is not empty");
    kopertal::test::Damage damage(files, 1);
    for (int i = 0; i < QByteArray(argv[1]).toInt(); ++i)
        run(damage.next(), QByteArray::number(i));
    return 0;
}
