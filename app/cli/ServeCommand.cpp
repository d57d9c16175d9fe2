#include "app/cli/ServeCommand.h"

#include "app/ModuleEntry.h"
#include "app/cli/Console.h"
#include "app/cli/PhotoFile.h"
#include "app/cli/PhotoNumbers.h"
#include "app/cli/StopOnSignal.h"
#include "app/cli/Usage.h"
#include "net/Deliver.h"
#include "scan/LocalAddress.h"
#include "scan/PhotoRecognizer.h"
#include "scan/QrCode.h"
#include "scan/ScanServer.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QTimer>

#include <charconv>
#include <chrono>
#include <cstring>
#include <exception>
#include <getopt.h>
#include <optional>
#include <unistd.h>
#include <utility>
#include <variant>

namespace kopertal {

const char* const serveHelp =
    R"(Użycie: kopertal serve [--port N] [--save-photos FOLDER]

Odbiera zdjęcia z telefonu w tej samej sieci: otwórz na nim podany adres albo
zeskanuj kod QR. Wypisuje numery z każdego zdjęcia. Działa do Ctrl+C; zdjęcia
już odebrane odczytuje jeszcze przez chwilę, drugie Ctrl+C kończy od razu.

      --port N              port serwera, 1–65535 (domyślnie: dowolny wolny)
      --save-photos FOLDER  zapisuj zdjęcia w FOLDERZE jako zdjecie_RRRRMMDD_GGMMSS,
                            zawsze pod wolną nazwą, czytelne tylko dla Ciebie
      --verbose             opisuj przebieg pracy, bez numerów i zdjęć
  -h, --help                pokaż tę pomoc

Numery trafiają na standardowe wyjście, po jednym w wierszu; adres, kod QR
i komunikaty na standardowe wyjście błędów.)";

namespace {

/// For the photos that are still being read at the end: a photo takes about a second, and two are
/// read at once.
constexpr std::chrono::seconds lastPhotosLimit{5};

struct Options {
    std::optional<std::uint16_t> port; // without one, any free port
    std::optional<QString> folder;
};

std::optional<std::uint16_t> parsePort(const char* text) {
    std::uint16_t port = 0;
    const char* const end = text + std::strlen(text);
    const auto [stop, error] = std::from_chars(text, end, port);
    if (error != std::errc() || stop != end || port == 0)
        return {};
    return port;
}

/// The options, or the exit code when there is nothing left to do.
std::variant<Options, int> parseOptions(int count, char** arguments) {
    enum { port = 256, savePhotos };
    static const option known[] = {{"port", required_argument, nullptr, port},
                                   {"save-photos", required_argument, nullptr, savePhotos},
                                   {"help", no_argument, nullptr, 'h'},
                                   {}};
    Options options;
    opterr = 0;
    for (int found; (found = getopt_long(count, arguments, ":h", known, nullptr)) != -1;) {
        switch (found) {
        case port:
            options.port = parsePort(optarg);
            if (!options.port)
                return refuseUsage("serve", QStringLiteral("Port musi być liczbą od 1 do 65535: %1")
                                                .arg(QString::fromLocal8Bit(optarg)));
            break;
        case savePhotos:
            options.folder = QFile::decodeName(optarg);
            if (options.folder->isEmpty())
                return refuseUsage("serve", QStringLiteral("Ścieżka nie może być pusta."));
            break;
        case 'h':
            return printResult(QString::fromUtf8(serveHelp)) ? done : failed;
        default:
            return refuseOption("serve", found, arguments);
        }
    }
    if (optind < count)
        return refuseUsage("serve", QStringLiteral("Nieoczekiwany argument: %1")
                                        .arg(QString::fromLocal8Bit(arguments[optind])));
    return options;
}

bool isUsable(const QString& folder) {
    const QFileInfo info(folder);
    if (!info.exists())
        printMessage(QStringLiteral("Folder na zdjęcia nie istnieje: %1").arg(folder));
    else if (!info.isDir())
        printMessage(QStringLiteral("To nie jest folder: %1").arg(folder));
    else if (!info.isWritable())
        printMessage(QStringLiteral("W folderze na zdjęcia nie można zapisywać: %1").arg(folder));
    else
        return true;
    return false;
}

void showAddress(std::uint16_t port) {
    const QString host = localIPAddress();
    const QString address = QStringLiteral("http://%1:%2").arg(host).arg(port);
    printMessage(QStringLiteral("Serwer działa. Otwórz na telefonie w tej samej sieci Wi-Fi:"));
    printMessage(address);
    // Black on white, whatever colours the terminal has: many phones do not read the reverse.
    const bool isTerminal = isatty(STDERR_FILENO);
    const QString start = isTerminal ? QStringLiteral("\033[30;107m") : QString();
    const QString end = isTerminal ? QStringLiteral("\033[0m") : QString();
    for (const QString& line : qrCodeLines(address))
        printMessage(start + line + end);
    if (host == u"127.0.0.1")
        printMessage(QStringLiteral("Uwaga: komputer nie jest w żadnej sieci, telefon nie otworzy "
                                    "tego adresu."));
    printMessage(QStringLiteral("Czekam na zdjęcia. Ctrl+C kończy."));
}

/// "1 bajt", "512 B", "3,4 MB".
QString dataSize(std::size_t bytes) {
    if (bytes == 1)
        return QStringLiteral("1 bajt");
    if (bytes < 1000)
        return QStringLiteral("%1 B").arg(bytes);
    const bool isMega = bytes >= 999'950; // which would be "1000,0 kB"
    const double amount = static_cast<double>(bytes) / (isMega ? 1e6 : 1e3);
    return QLocale(QLocale::Polish).toString(amount, 'f', 1) +
           (isMega ? QStringLiteral(" MB") : QStringLiteral(" kB"));
}

/// Says what arrived and keeps it where that was asked. False when it could not be kept.
bool receive(const ReceivedPhoto& photo, const std::optional<QString>& folder) {
    const QString size = dataSize(photo.whole().size());
    if (!folder) {
        printMessage(QStringLiteral("Odebrano zdjęcie (%1).").arg(size));
        return true;
    }
    try {
        const QString path = savePhoto(photo, *folder, QDateTime::currentDateTime());
        printMessage(QStringLiteral("Odebrano zdjęcie (%1): %2").arg(size, path));
        return true;
    } catch (const std::exception& error) {
        printMessage(QStringLiteral("Odebrano zdjęcie (%1), ale nie udało się go zapisać: %2")
                         .arg(size, QString::fromUtf8(error.what())));
        return false;
    }
}

RecognizerOptions recognizerOptions() {
    RecognizerOptions options;
    options.program = QCoreApplication::applicationFilePath();
    return options;
}

/// What becomes of the photos: kept, read, their numbers printed.
class PhotoDesk {
public:
    explicit PhotoDesk(std::optional<QString> folder)
        : m_folder(std::move(folder)), m_recognizer(recognizerOptions()) {}

    void take(const ReceivedPhoto& photo) {
        m_isAllDone = receive(photo, m_folder) && m_isAllDone;
        ++m_unread;
        deliver(m_recognizer.recognize(photoBytes(photo)), &m_recognizer,
                [this](const PhotoResult& result) {
                    m_isAllDone = printNumbers(QStringLiteral("Zdjęcie"), result) && m_isAllDone;
                    if (--m_unread == 0)
                        m_lastPhotos.quit();
                });
    }

    /// Gives the photos that are still being read a little time. False when any photo was not kept,
    /// or its numbers not printed.
    bool finish() {
        QCoreApplication::processEvents(); // what has just been handed over
        if (m_unread > 0) {
            printMessage(QStringLiteral("Odczytuję jeszcze odebrane zdjęcia (%1). "
                                        "Ctrl+C kończy od razu.")
                             .arg(m_unread));
            QTimer::singleShot(lastPhotosLimit, &m_lastPhotos, &QEventLoop::quit);
            m_lastPhotos.exec();
        }
        if (m_unread > 0)
            printMessage(QStringLiteral("Nierozpoznane zdjęcia: %1").arg(m_unread));
        return m_isAllDone && m_unread == 0;
    }

private:
    std::optional<QString> m_folder;
    PhotoRecognizer m_recognizer;
    QEventLoop m_lastPhotos;
    int m_unread = 0;
    bool m_isAllDone = true;
};

int serve(const Options& options) {
    if (options.folder && !isUsable(*options.folder))
        return failed;
    const StopOnSignal interruption;
    const std::stop_callback quit(interruption.token(), [] {
        QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit,
                                  Qt::QueuedConnection);
    });
    PhotoDesk desk(options.folder);
    ScanServer server;
    server.onPhotoReceived([&](const ReceivedPhoto& photo) { desk.take(photo); });
    server.start(options.port);
    if (server.port() == 0) {
        printMessage(options.port
                         ? QStringLiteral("Nie można otworzyć portu %1: jest zajęty albo wymaga "
                                          "uprawnień administratora.")
                               .arg(*options.port)
                         : QStringLiteral("Nie można otworzyć żadnego portu."));
        return failed;
    }
    showAddress(server.port());
    QCoreApplication::exec();
    server.stop();
    return desk.finish() ? done : failed;
}

} // namespace

int runServe(int count, char** arguments) {
    const std::variant<Options, int> parsed = parseOptions(count, arguments);
    if (const int* exitCode = std::get_if<int>(&parsed))
        return *exitCode;
    return serve(std::get<Options>(parsed));
}

} // namespace kopertal

KOPERTAL_MODULE(kopertal::runServe)
