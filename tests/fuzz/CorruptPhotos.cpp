// CorruptPhotos PROGRAM SEED SECONDS|PHOTOSx
//
// Damages photos of every format and hands them to the program's recognition process, the real one.
// A library that ends the process is a handled outcome. Findings are: a process that hangs, a
// sanitizer's report, an answer that is none, and a number that was not on the photo. What gave one
// is kept as a file in the working directory.
#include "scan/PhotoResult.h"
#include "tests/support/photo/RegisterPhoto.h"

#include <QCoreApplication>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QTextStream>

#include <algorithm>
#include <random>

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

class Damage {
public:
    explicit Damage(unsigned seed) : m_random(seed), m_photos(wholePhotos()) {}

    QByteArray next() {
        QByteArray photo = m_photos[below(m_photos.size())];
        for (auto count = below(3); count >= 0; --count)
            change(photo);
        return photo;
    }

private:
    qsizetype below(qsizetype end) {
        return static_cast<qsizetype>(m_random() %
                                      static_cast<size_t>(std::max<qsizetype>(1, end)));
    }
    char byte() { return static_cast<char>(m_random()); }

    void change(QByteArray& photo) {
        // Headers are where most goes wrong; what comes later gets farther.
        const qsizetype size = below(3) > 0 ? photo.size() : std::min<qsizetype>(photo.size(), 512);
        const qsizetype at = below(size);
        const qsizetype length = std::min(photo.size() - at, 1 + below(64));
        switch (below(7)) {
        case 0:
            for (qsizetype i = below(16); i >= 0 && !photo.isEmpty(); --i)
                photo[below(size)] = byte();
            break;
        case 1:
            photo.truncate(at);
            break;
        case 2:
            photo.remove(at, length);
            break;
        case 3:
            photo.insert(at, photo.mid(below(photo.size()), length));
            break;
        case 4:
            photo.replace(at, length, QByteArray(length, below(2) == 0 ? '\0' : '\xff'));
            break;
        case 5:
            if (!photo.isEmpty())
                photo[at] = static_cast<char>(photo[at] ^ (1 << below(8)));
            break;
        default: {
            const QByteArray other = m_photos[below(m_photos.size())];
            photo = photo.first(at) + other.mid(std::min(at, other.size()));
        }
        }
    }

    std::mt19937 m_random;
    QList<QByteArray> m_photos;
};

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
    Damage damage(QByteArray(argv[2]).toUInt());
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
