#include "app/cli/ScanCommand.h"

#include "app/ModuleEntry.h"
#include "app/cli/Console.h"
#include "app/cli/PhotoNumbers.h"
#include "app/cli/Usage.h"
#include "scan/PhotoRecognizer.h"
#include "scan/PhotoWorker.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QFutureWatcher>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>

#include <algorithm>
#include <getopt.h>
#include <optional>
#include <unistd.h>

namespace kopertal {
namespace {

const char* const scanHelp =
    R"(Użycie: kopertal scan ZDJĘCIE…|- [--json]

Odczytuje kody kreskowe ze zdjęć książki nadawczej i wypisuje numery, po jednym
w wierszu, posortowane w obrębie każdego zdjęcia. „-” oznacza standardowe wejście.
Zdjęcia: JPEG, PNG, WebP, TIFF, BMP, GIF, HEIC/HEIF, AVIF.

      --json     wypisz tablicę JSON z obiektem na zdjęcie: photo, outcome (numbers,
                 none, unreadable) i numbers (text, format, box: część zdjęcia,
                 liczona od lewego dolnego rogu)
      --verbose  opisuj przebieg pracy, bez numerów i zdjęć
  -h, --help     pokaż tę pomoc

Kod wyjścia: 0, gdy każde zdjęcie dało numer, 1, gdy któreś nie dało, 2 przy
błędnym użyciu.)";

const QString standardInput = QStringLiteral("-");
constexpr qint64 largestFile = qint64(64) << 20;

struct Options {
    QStringList photos;
    bool json = false;
};

/// Fills `options`; or gives the exit code when there is nothing left to do.
std::optional<int> parseOptions(int count, char** arguments, Options& options) {
    if (const std::optional<int> exitCode =
            parseJsonOption("scan", scanHelp, count, arguments, options.json))
        return exitCode;
    for (int i = optind; i < count; ++i)
        options.photos.append(QFile::decodeName(arguments[i]));
    if (options.photos.contains(QString()))
        return refuseUsage("scan", QStringLiteral("Ścieżka nie może być pusta."));
    if (options.photos.isEmpty())
        return refuseUsage("scan", QStringLiteral("Podaj co najmniej jedno zdjęcie."));
    if (options.photos.count(standardInput) > 1)
        return refuseUsage("scan", QStringLiteral("Standardowe wejście można odczytać tylko raz."));
    return std::nullopt;
}

/// The file's bytes; nothing, after a message, when it cannot be read.
std::optional<QByteArray> readPhoto(const QString& path) {
    QFile file(path);
    const bool isOpen = path == standardInput ? file.open(STDIN_FILENO, QIODevice::ReadOnly)
                                              : file.open(QIODevice::ReadOnly);
    const QByteArray bytes = isOpen ? file.read(largestFile + 1) : QByteArray();
    if (isOpen && file.error() == QFileDevice::NoError && bytes.size() <= largestFile)
        return bytes;
    printMessage(QStringLiteral("Nie można odczytać pliku %1: %2")
                     .arg(path, bytes.size() > largestFile ? QStringLiteral("jest za duży")
                                                           : file.errorString()));
    return std::nullopt;
}

PhotoResult wait(const QFuture<PhotoResult>& future) {
    QFutureWatcher<PhotoResult> watcher;
    QEventLoop loop;
    QObject::connect(&watcher, &QFutureWatcherBase::finished, &loop, &QEventLoop::quit);
    watcher.setFuture(future);
    if (!future.isFinished())
        loop.exec();
    return future.result();
}

/// Photos are read from disk only shortly before their turn.
int scan(const Options& options) {
    const int atOnce = std::max(1, QThread::idealThreadCount());
    RecognizerOptions recognizerOptions;
    recognizerOptions.program = QCoreApplication::applicationFilePath();
    recognizerOptions.atOnce = atOnce;
    PhotoRecognizer recognizer(recognizerOptions);
    QList<QFuture<PhotoResult>> results;
    const auto startUpTo = [&](qsizetype end) {
        while (results.size() < std::min(end, options.photos.size())) {
            const std::optional<QByteArray> bytes = readPhoto(options.photos[results.size()]);
            results.append(recognizer.recognize(photoBytes(bytes.value_or(QByteArray()))));
        }
    };
    bool allFound = true;
    bool allPrinted = true;
    QJsonArray json;
    for (qsizetype i = 0; i < options.photos.size(); ++i) {
        startUpTo(i + qsizetype(2) * atOnce);
        const PhotoResult result = wait(results[i]);
        allFound = allFound && !result.numbers.isEmpty();
        if (options.json)
            json.append(toJson(options.photos[i], result));
        else
            allPrinted = printNumbers(options.photos[i], result) && allPrinted;
    }
    if (options.json)
        allPrinted = printResult(QJsonDocument(json));
    if (!allPrinted)
        printMessage(QStringLiteral("Nie można wypisać wyniku."));
    return allFound && allPrinted ? done : failed;
}

} // namespace

int runScan(int count, char** arguments) {
    Options options;
    if (const std::optional<int> exitCode = parseOptions(count, arguments, options))
        return *exitCode;
    if (options.json && options.photos == QStringList(standardInput))
        runPhotoWorker();
    return scan(options);
}

} // namespace kopertal

KOPERTAL_MODULE(kopertal::runScan)
