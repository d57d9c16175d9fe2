// TARGET COUNT FOLDER: runs the fuzz target once over every file of its corpus, then over COUNT
// damaged copies of them, always the same. Fails when there is no file, so that a lost corpus is
// noticed.
#include "tests/fuzz/Damage.h"
#include "tests/fuzz/FuzzTarget.h"

int main(int argc, char** argv) {
    require(argc == 3, "a count and a folder are named");
    const QList<QByteArray> files = kopertal::test::filesIn(QFile::decodeName(argv[2]));
    require(!files.isEmpty(), "the corpus is not empty");
    for (const QByteArray& file : files)
        feed(file);
    kopertal::test::Damage damage(files, 1);
    for (int i = 0; i < QByteArray(argv[1]).toInt(); ++i)
        feed(damage.next());
    return 0;
}
