#include "app/cli/TrackCommand.h"

#include "app/Configuration.h"
#include "app/ModuleEntry.h"
#include "app/cli/Console.h"
#include "app/cli/Usage.h"
#include "net/HttpClient.h"
#include "tracking/SentBook.h"
#include "tracking/TrackingNumber.h"
#include "tracking/TrackingRow.h"
#include "tracking/TrackingService.h"

#include <QFuture>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <algorithm>
#include <getopt.h>
#include <optional>
#include <utility>

namespace kopertal {

const char* const trackHelp =
    R"(Użycie: kopertal track NUMER… [--json]

Pyta Pocztę Polską o przesyłki, o wszystkie naraz, i wypisuje po jednym wierszu
na numer, w podanej kolejności: numer, status, data statusu i ostatnia placówka,
rozdzielone tabulatorami; „—” zamiast tego, co nieznane.

      --json    wypisz tablicę JSON ze wszystkim, co wiadomo, też z historią zdarzeń
  -h, --help    pokaż tę pomoc

Kod wyjścia: 0, gdy usługa odpowiedziała na każdy numer (także że go nie zna),
1, gdy na któryś nie odpowiedziała, 2 przy błędnym użyciu.

Zmienne środowiska:
  KOPERTAL_TRACKING_ENDPOINT   inny adres usługi śledzenia
  SSL_CERT_FILE                inny plik zaufanych urzędów certyfikacji (PEM)
  https_proxy, no_proxy        serwer pośredniczący i wyjątki od niego)";

namespace {

struct Options {
    QStringList numbers; // cleaned
    bool json = false;
};

/// Fills `options`; or gives the exit code when there is nothing left to do.
std::optional<int> parseOptions(int count, char** arguments, Options& options) {
    enum { json = 256 };
    static const option known[] = {
        {"json", no_argument, nullptr, json}, {"help", no_argument, nullptr, 'h'}, {}};
    opterr = 0;
    for (int found; (found = getopt_long(count, arguments, ":h", known, nullptr)) != -1;) {
        switch (found) {
        case json:
            options.json = true;
            break;
        case 'h':
            return printResult(QString::fromUtf8(trackHelp)) ? done : failed;
        default:
            return refuseOption("track", found, arguments);
        }
    }
    for (int i = optind; i < count; ++i)
        options.numbers.append(cleanBarcode(QString::fromUtf8(arguments[i])));
    if (options.numbers.isEmpty())
        return refuseUsage("track", QStringLiteral("Podaj co najmniej jeden numer nadawczy."));
    return std::nullopt;
}

/// Whether the service spoke of the number. A fault or an error page has neither events nor
/// anything else of a shipment in it.
bool isAnswered(const TrackingResult& result) {
    if (!result.events.isEmpty() || result.status == TrackingStatus::notFound)
        return true;
    TrackingResult nothing;
    nothing.status = result.status;
    nothing.lastEvent = result.lastEvent;
    return result != nothing;
}

/// A text of the service as part of a line: no control character gets to the terminal.
QString onOneLine(QString text) {
    text.replace(u'\n', QStringLiteral(", "));
    std::replace_if(
        text.begin(), text.end(), [](QChar c) { return c.category() == QChar::Other_Control; },
        QChar(u' '));
    return text.isEmpty() ? QStringLiteral("—") : text;
}

QString toLine(const TrackingRow& row) {
    return QStringList{onOneLine(row.trackingNumber), onOneLine(row.status),
                       onOneLine(statusDate(row)), onOneLine(row.lastPlace)}
        .join(u'\t');
}

QJsonObject toJson(const TrackingEvent& event) {
    return {{QStringLiteral("time"), event.time},
            {QStringLiteral("name"), event.name},
            {QStringLiteral("place"), event.place},
            {QStringLiteral("placeAddress"), event.placeAddress},
            {QStringLiteral("code"), event.code},
            {QStringLiteral("isFinal"), event.isFinal}};
}

QJsonObject toJson(const TrackingRow& row, bool answered) {
    QJsonArray events;
    for (const TrackingEvent& event : row.events())
        events.append(toJson(event));
    return {{QStringLiteral("trackingNumber"), row.trackingNumber},
            {QStringLiteral("answered"), answered},
            {QStringLiteral("status"), row.status},
            {QStringLiteral("statusDate"), row.sortableDate()},
            {QStringLiteral("lastEvent"), row.lastEvent},
            {QStringLiteral("lastPlace"), row.lastPlace},
            {QStringLiteral("rodzajPrzesylki"), row.rodzajPrzesylki},
            {QStringLiteral("masa"), row.masa},
            {QStringLiteral("dataNadania"), row.dataNadaniaAPI},
            {QStringLiteral("urzadNadania"), row.urzadNadania},
            {QStringLiteral("urzadPrzeznaczenia"), row.urzadPrzeznaczenia},
            {QStringLiteral("zakonczonoObsluge"), row.zakonczonoObsluge},
            {QStringLiteral("events"), events}};
}

int track(const Options& options) {
    HttpClient client(httpOptions());
    const TrackingService service(client, trackingAccess());
    QList<QFuture<TrackingResult>> answers;
    for (const QString& number : options.numbers)
        answers.append(service.fetch(number));

    bool allAnswered = true;
    bool allPrinted = true;
    QStringList failures;
    QJsonArray json;
    for (qsizetype i = 0; i < answers.size(); ++i) {
        const TrackingResult result = answers[i].result();
        TrackingRow row(SentEntry{{}, {}, {}, options.numbers[i]}, {});
        row.merge(result);
        const bool answered = isAnswered(result);
        allAnswered = allAnswered && answered;
        if (result.status == TrackingStatus::networkError && !failures.contains(result.lastEvent))
            failures.append(result.lastEvent);
        if (options.json)
            json.append(toJson(row, answered));
        else
            allPrinted = printResult(toLine(row)) && allPrinted;
    }
    if (options.json)
        allPrinted =
            printResult(QString::fromUtf8(QJsonDocument(json).toJson(QJsonDocument::Compact)));
    for (const QString& failure : std::as_const(failures))
        printMessage(TrackingStatus::networkError + QStringLiteral(": ") + failure);
    return allAnswered && allPrinted ? done : failed;
}

} // namespace

int runTrack(int count, char** arguments) {
    Options options;
    if (const std::optional<int> exitCode = parseOptions(count, arguments, options))
        return *exitCode;
    return track(options);
}

} // namespace kopertal

KOPERTAL_MODULE(kopertal::runTrack)
