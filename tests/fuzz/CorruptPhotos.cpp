// CorruptPhotos PROGRAM SEED PHOTOS
//
// Damages photos of every format and hands them to the program's recognition process, the real one.
// A library that ends the process is a handled outcome. Findings are: a process that hangs, a
// sanitizer's report, an answer that is none, and a number that was not on the photo. What gave one
// is kept as a file in the working directory.
#include "scan/PhotoResult.h"
#include "tests/fuzz/Damage.h"
#include "tests/support/Files.h"
#include "tests/support/photo/RegisterPhoto.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>

#include <cstdio>
#include <map>

using namespace kopertal;
using namespace kopertal::test;

namespace {

constexpr int patience = 120'000; // ms, for a sanitized program on a loaded machine
const QString number = QStringLiteral("RR473124829PL");

/// The same number in every format that can be written here, and the small files of the fuzz
/// target's corpus.
QList<QByteArray> wholePhotos() {
    QList<QByteArray> photos;
    for (const char* format : {"jpeg", "png", "webp", "tiff", "bmp"})
        photos.append(makeScreenshot({{"Code128", number}}, format).jpeg);
    const QDir corpus(KOPERTAL_SOURCE_DIR "/tests/fuzz/corpus/Photo");
    for (const QString& name : corpus.entryList(QDir::Files, QDir::Name))
        photos.append(contentsOf(corpus.filePath(name)));
    return photos;
}

/// What became of the photo; findings begin with an exclamation mark.
QString outcomeOf(const QByteArray& photo, const QString& program) {
    QProcess worker;
    worker.start(program, {"scan", "--json", "-"});
    worker.write(photo);
    worker.closeWriteChannel();
    if (!worker.waitForFinished(patience))
        return "! hangs";
    const QByteArray messages = worker.readAllStandardError();
    if (messages.contains("Sanitizer") || messages.contains("runtime error"))
        return "! " + messages;
    const QByteArray answer = worker.readAllStandardOutput();
    if (worker.exitStatus() == QProcess::CrashExit && answer.isEmpty())
        return "ended by a library";
    const std::optional<PhotoResult> result = photoResultFromJson(answer);
    if (!result)
        return "! no answer";
    for (const Barcode& code : result->numbers) {
        if (code.text != number)
            return "! wrong number";
    }
    return toJson({}, *result)["outcome"].toString();
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    if (argc != 4)
        return 2;
    const QString seed = argv[2];
    Damage damage(wholePhotos(), seed.toUInt());
    std::map<QString, int> outcomes;
    bool isFine = true;
    for (int i = 0; i < QByteArray(argv[3]).toInt(); ++i) {
        const QByteArray photo = damage.next();
        const QString outcome = outcomeOf(photo, QFile::decodeName(argv[1]));
        ++outcomes[outcome];
        if (outcome.startsWith('!')) {
            isFine = false;
            writeFile("finding-" + seed + '-' + QString::number(i), photo);
        }
    }
    for (const auto& [outcome, count] : outcomes)
        std::printf("%d %s\n", count, qPrintable(outcome));
    return isFine && !outcomes.empty() ? 0 : 1;
}
