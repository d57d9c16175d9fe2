// CorruptPhotos PROGRAM SEED SECONDS|PHOTOSx
//
// Damages photos of every format and hands them to the program's recognition process, the real one.
// A library that ends the process is a handled outcome. Findings are: a process that hangs, a
// sanitizer's report, an answer that is none, and a number that was not on the photo. What gave one
// is kept as a file in the working directory.
#include "scan/PhotoResult.h"
#include "tests/fuzz/Damage.h"
#include "tests/support/photo/RegisterPhoto.h"

#include <QCoreApplication>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QTextStream>

#include <algorithm>

using namespace kopertal;
using namespace kopertal::test;

namespace {

constexpr int patience = 120'000; // ms, for a sanitized program on a loaded machine
const QString number = QStringLiteral("RR473124829PL");

QTextStream out(stdout);

/// The same number in every format that can be written here, and the small files of the fuzz
/// target's corpus.
QList<QByteArray> wholePhotos() {
    QList<QByteArray> photos;
    for (const char* format : {"jpeg", "png", "webp", "tiff", "bmp"})
        photos.append(makeScreenshot({{QStringLiteral("Code128"), number}}, format).jpeg);
    QDirIterator corpus(QStringLiteral(KOPERTAL_SOURCE_DIR "/tests/fuzz/corpus/Photo"),
                        QDir::Files);
    while (corpus.hasNext()) {
        QFile file(corpus.next());
        if (file.open(QIODevice::ReadOnly))
            photos.append(file.readAll());
    }
    std::ranges::sort(photos); // folders are listed in any order
    return photos;
}

struct Outcome {
    QString name;
    bool isFinding;
};

Outcome recognize(const QString& program, const QByteArray& photo) {
    QProcess worker;
    worker.start(program, {QStringLiteral("scan"), QStringLiteral("--json"), QStringLiteral("-")});
    worker.write(photo);
    worker.closeWriteChannel();
    if (!worker.waitForFinished(patience)) {
        worker.kill();
        worker.waitForFinished();
        return {QStringLiteral("hangs"), true};
    }
    const QByteArray messages = worker.readAllStandardError();
    if (messages.contains("Sanitizer") || messages.contains("runtime error")) {
        out << messages << '\n';
        return {QStringLiteral("sanitizer's report"), true};
    }
    const QByteArray answer = worker.readAllStandardOutput();
    if (worker.exitStatus() == QProcess::CrashExit && answer.isEmpty())
        return {QStringLiteral("ended by a library"), false};
    const std::optional<PhotoResult> result = photoResultFromJson(answer);
    if (!result)
        return {QStringLiteral("no answer"), true};
    if (std::ranges::any_of(result->numbers,
                            [](const Barcode& code) { return code.text != number; }))
        return {QStringLiteral("wrong number"), true};
    switch (result->outcome) {
    case PhotoOutcome::unreadable:
        return {QStringLiteral("unreadable"), false};
    case PhotoOutcome::none:
        return {QStringLiteral("no code"), false};
    default:
        return {QStringLiteral("the number"), false};
    }
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    if (argc != 4)
        return 2;
    const QString program = QFile::decodeName(argv[1]);
    Damage damage(wholePhotos(), QByteArray(argv[2]).toUInt());
    QByteArray bound = argv[3];
    const bool isCount = bound.endsWith('x');
    if (isCount)
        bound.chop(1);
    QElapsedTimer timer;
    timer.start();
    QMap<QString, int> outcomes;
    int findings = 0;
    for (int photos = 0;
         isCount ? photos < bound.toInt() : timer.elapsed() < bound.toInt() * qint64(1000);
         ++photos) {
        const QByteArray photo = damage.next();
        const Outcome outcome = recognize(program, photo);
        ++outcomes[outcome.name];
        QFile kept(QStringLiteral("finding-%1-%2").arg(QString::fromLatin1(argv[2])).arg(photos));
        if (outcome.isFinding && ++findings && kept.open(QIODevice::WriteOnly)) {
            kept.write(photo);
            out << kept.fileName() << ": " << outcome.name << '\n' << Qt::flush;
        }
    }
    for (auto outcome = outcomes.cbegin(); outcome != outcomes.cend(); ++outcome)
        out << outcome.value() << ' ' << outcome.key() << '\n';
    return findings == 0 && !outcomes.isEmpty() ? 0 : 1;
}
