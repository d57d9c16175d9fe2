// CorruptPhotos PROGRAM SEED PHOTOS
//
// Damages photos of every format and hands them to the program's recognition process, the real one.
// A library that ends the process is a handled outcome. Findings are: a process that hangs, a
// sanitizer's report, an answer that is none, and a number that was not on the photo. What gave one
// is kept as a file in the working directory.
#include "scan/PhotoResult.h"
#include "tests/fuzz/Damage.h"
#include "tests/support/photo/RegisterPhoto.h"

#include <QProcess>

#include <cstdio>

using namespace kopertal;
using namespace kopertal::test;

namespace {

constexpr int patience = 120'000; // ms, for a sanitized program on a loaded machine
const QString number = QStringLiteral("RR473124829PL");

QByteArray findingAt(const QByteArray& photo, const QString& program) {
    QProcess worker;
    worker.start(program, {"scan", "--json", "-"});
    worker.write(photo);
    worker.closeWriteChannel();
    if (!worker.waitForFinished(patience))
        return "it hangs";
    const QByteArray messages = worker.readAllStandardError();
    if (messages.contains("Sanitizer") || messages.contains("runtime error"))
        return messages;
    const QByteArray answer = worker.readAllStandardOutput();
    if (worker.exitStatus() == QProcess::CrashExit && answer.isEmpty())
        return {};
    const std::optional<PhotoResult> result = photoResultFromJson(answer);
    const auto isRight = [](const Barcode& code) { return code.text == number; };
    if (!result || !std::ranges::all_of(result->numbers, isRight))
        return "wrong answer: " + answer;
    return {};
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4)
        return 2;
    QList<QByteArray> photos = filesIn(KOPERTAL_SOURCE_DIR "/tests/fuzz/corpus/Photo");
    for (const char* format : {"jpeg", "png", "webp", "tiff", "bmp"})
        photos << makeScreenshot({{"Code128", number}}, format).jpeg;
    const QByteArray seed = argv[2];
    Damage damage(photos, seed.toUInt());
    int findings = 0;
    for (int i = 0; i < QByteArray(argv[3]).toInt(); ++i) {
        const QByteArray photo = damage.next();
        const QByteArray finding = findingAt(photo, QFile::decodeName(argv[1]));
        if (finding.isEmpty())
            continue;
        ++findings;
        const QString kept = writeFile("finding-" + seed + '-' + QByteArray::number(i), photo);
        std::printf("%s: %s\n", qPrintable(kept), finding.constData());
    }
    return findings == 0 ? 0 : 1;
}
