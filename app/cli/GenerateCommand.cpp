#include "app/cli/GenerateCommand.h"

#include "app/ModuleEntry.h"
#include "app/cli/Console.h"
#include "app/cli/StopOnSignal.h"
#include "app/cli/Usage.h"
#include "app/settings/AppSettings.h"
#include "engine/AddressFile.h"
#include "engine/AddressParsing.h"
#include "engine/EngineError.h"
#include "engine/OutputPath.h"
#include "engine/RegisterDocument.h"
#include "engine/RegisterPages.h"

#include <QDate>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <getopt.h>
#include <optional>
#include <unistd.h>
#include <variant>

namespace kopertal {

const char* const generateHelp =
    R"(Użycie: kopertal generate [PLIK|-] [-o FOLDER | --output PLIK] [OPCJE]

Tworzy z adresów wypełnioną książkę nadawczą (.docx). Adresy to bloki wierszy
rozdzielone pustym wierszem: w pierwszym wierszu adresat, w dalszych adres.
Bez PLIKU (albo z „-”) czyta je ze standardowego wejścia. Rozpoznaje UTF-8,
Windows-1250 i ISO 8859-2.

  -o FOLDER              zapisz w FOLDERZE jako kopertal_RRRRMMDD.docx, pod wolną nazwą
                         (domyślnie: folder z ustawień, a bez niego bieżący)
      --output PLIK      zapisz dokładnie jako PLIK; istniejący plik zostanie zastąpiony
      --sender-name T    nadawca (domyślnie: z ustawień)
      --sender-address T adres nadawcy (domyślnie: z ustawień)
      --template PLIK    użyj własnego szablonu .dotx
      --json             wypisz wynik jako obiekt JSON: document, recipients, pages, skipped
      --verbose          opisuj przebieg pracy, bez adresów i treści
  -h, --help             pokaż tę pomoc

Na standardowe wyjście trafia ścieżka dokumentu, na standardowe wyjście błędów
pominięte wpisy i komunikaty.)";

namespace {

struct Options {
    std::optional<QString> input; // without one, standard input
    std::optional<QString> folder;
    std::optional<QString> output;
    std::optional<QString> senderName;
    std::optional<QString> senderAddress;
    std::optional<QString> templateFile;
    bool json = false;
};

/// The options, or the exit code when there is nothing left to do.
std::variant<Options, int> parseOptions(int count, char** arguments) {
    enum { output = 256, senderName, senderAddress, templateFile, json };
    static const option known[] = {{"output", required_argument, nullptr, output},
                                   {"sender-name", required_argument, nullptr, senderName},
                                   {"sender-address", required_argument, nullptr, senderAddress},
                                   {"template", required_argument, nullptr, templateFile},
                                   {"json", no_argument, nullptr, json},
                                   {"help", no_argument, nullptr, 'h'},
                                   {}};
    Options options;
    opterr = 0;
    for (int found; (found = getopt_long(count, arguments, ":o:h", known, nullptr)) != -1;) {
        switch (found) {
        case 'o':
            options.folder = QFile::decodeName(optarg);
            break;
        case output:
            options.output = QFile::decodeName(optarg);
            break;
        case senderName:
            options.senderName = QString::fromUtf8(optarg);
            break;
        case senderAddress:
            options.senderAddress = QString::fromUtf8(optarg);
            break;
        case templateFile:
            options.templateFile = QFile::decodeName(optarg);
            break;
        case json:
            options.json = true;
            break;
        case 'h':
            return printResult(QString::fromUtf8(generateHelp)) ? done : failed;
        default:
            return refuseOption("generate", found, arguments);
        }
    }
    if (count - optind > 1)
        return refuseUsage("generate", QStringLiteral("Podaj najwyżej jeden plik z adresami."));
    if (optind < count && qstrcmp(arguments[optind], "-") != 0)
        options.input = QFile::decodeName(arguments[optind]);
    for (const auto& path : {options.input, options.folder, options.output, options.templateFile}) {
        if (path && path->isEmpty())
            return refuseUsage("generate", QStringLiteral("Ścieżka nie może być pusta."));
    }
    if (options.folder && options.output)
        return refuseUsage("generate", QStringLiteral("Opcje -o i --output wykluczają się."));
    if (options.output) {
        const QFileInfo there(*options.output);
        if (options.output->endsWith(u'/') || (there.exists() && !there.isFile()))
            return refuseUsage(
                "generate",
                QStringLiteral("--output nie wskazuje zwykłego pliku: %1").arg(*options.output));
        for (const auto& source : {options.input, options.templateFile}) {
            if (source && there.exists() && QFileInfo(*source) == there)
                return refuseUsage(
                    "generate",
                    QStringLiteral("--output zastąpiłby plik źródłowy: %1").arg(*source));
        }
    }
    return options;
}

/// The text of the addresses; nothing, after a message, when it cannot be read.
std::optional<QString> readInput(const Options& options) {
    QFile file;
    if (options.input) {
        file.setFileName(*options.input);
        file.open(QIODevice::ReadOnly);
    } else {
        if (isatty(STDIN_FILENO))
            printMessage(QStringLiteral("Wpisz adresy i zakończ klawiszami Ctrl+D."));
        file.open(STDIN_FILENO, QIODevice::ReadOnly);
    }
    const QString name = options.input.value_or(QStringLiteral("standardowe wejście"));
    try {
        if (!file.isOpen())
            throw FileError(name, file.errorString());
        return readAddresses(file, name);
    } catch (const FileError& error) {
        printMessage(QStringLiteral("Nie można odczytać adresów: ") +
                     QString::fromUtf8(error.what()));
        return std::nullopt;
    }
}

/// Where the document goes; empty, after a message, when there is no such folder.
QString outputFolder(const Options& options, const AppSettings& settings) {
    QString folder = options.output ? QFileInfo(*options.output).path()
                                    : options.folder.value_or(settings.saveFolder());
    if (folder.isEmpty())
        folder = QStringLiteral(".");
    if (QFileInfo(folder).isDir())
        return folder;
    printMessage(QStringLiteral("Folder zapisu nie istnieje: %1").arg(folder));
    return {};
}

/// The document's absolute path; a link is followed to the file that it names.
QString outputPath(const Options& options, const QString& folder) {
    if (!options.output)
        return uniqueURL(
            QDir(QDir(folder).absolutePath()).filePath(registerFileName(QDate::currentDate())));
    const QFileInfo output(*options.output);
    return output.exists() && output.isSymLink() ? output.canonicalFilePath()
                                                 : output.absoluteFilePath();
}

void reportSkipped(const QStringList& skipped) {
    if (skipped.isEmpty())
        return;
    printMessage(QStringLiteral("Pominięte wpisy (za mało linii):"));
    for (const QString& line : skipped)
        printMessage(line);
}

/// False when it could not be written.
bool printOutcome(const Options& options, const QString& document, qsizetype recipients,
                  const QStringList& skipped) {
    if (!options.json)
        return printResult(document);
    const QJsonObject result{{QStringLiteral("document"), document},
                             {QStringLiteral("recipients"), static_cast<qint64>(recipients)},
                             {QStringLiteral("pages"), static_cast<qint64>(pageCount(recipients))},
                             {QStringLiteral("skipped"), QJsonArray::fromStringList(skipped)}};
    return printResult(QJsonDocument(result));
}

int generate(const Options& options) {
    const AppSettings& settings = AppSettings::shared();
    const QString folder = outputFolder(options, settings);
    if (folder.isEmpty())
        return failed;

    const std::optional<QString> text = readInput(options);
    if (!text)
        return failed;
    const QList<ParsedAddress> addresses = parseAddresses(*text);
    const QStringList skipped = skippedEntries(*text);
    reportSkipped(skipped);
    if (addresses.isEmpty()) {
        printMessage(QStringLiteral(
            "Brak adresatów: każdy potrzebuje co najmniej dwóch wierszy, nazwy i adresu."));
        return failed;
    }
    // Only now: standard input may have taken its time, and the name or the day be taken since.
    const QString document = outputPath(options, folder);
    qsizetype placed = 0;
    try {
        const StopOnSignal interruption;
        placed = fillTemplate(addresses, options.templateFile, document,
                              options.senderName.value_or(settings.senderName()),
                              options.senderAddress.value_or(settings.senderAddress()),
                              interruption.token());
    } catch (const FileError& error) {
        printMessage(QStringLiteral("Nie udało się utworzyć dokumentu: ") +
                     QString::fromUtf8(error.what()));
        return failed;
    }
    if (!printOutcome(options, document, addresses.size(), skipped)) {
        printMessage(QStringLiteral("Dokument jest gotowy, ale nie można wypisać wyniku: ") +
                     document);
        return failed;
    }
    if (placed == addresses.size())
        return done;
    printMessage(
        QStringLiteral("Szablon nie ma miejsca dla wszystkich; w dokumencie brakuje adresatów: %1")
            .arg(addresses.size() - placed));
    return failed;
}

} // namespace

int runGenerate(int count, char** arguments) {
    const std::variant<Options, int> parsed = parseOptions(count, arguments);
    if (const int* exitCode = std::get_if<int>(&parsed))
        return *exitCode;
    return generate(std::get<Options>(parsed));
}

} // namespace kopertal

KOPERTAL_MODULE(kopertal::runGenerate)
