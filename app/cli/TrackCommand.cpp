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

namespace kopertal {

const char* const trackHelp =
    R"(Użycie: kopertal track NUMER… [--json]

Pyta Pocztę Polską o przesyłki, o wszystkie naraz, i wypisuje po jednym wierszu
na numer, w podanej kolejności: numer, status, data statusu i ostatnia placówka,
rozdzielone tabulatorami; „—” zamiast tego, co nieznane.

      --json     wypisz tablicę JSON ze wszystkim, co wiadomo, też z historią zdarzeń
      --verbose  opisuj przebieg pracy, bez numerów i odpowiedzi
  -h, --help     pokaż tę pomoc

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
    if (const std::optional<int> exitCode =
            parseJsonOption("track", trackHelp, count, arguments, options.json))
        return exitCode;
    for (int i = optind; i < count; ++i)
        options.numbers.append(cleanBarcode(QString::fromUtf8(arguments[i])));
    if (options.numbers.isEmpty())
        return refuseUsage("track", QStringLiteral("Podaj co najmniej jeden numer nadawczy."));
    return std::nullopt;
}

/// A text of the service as part of a line.
QString inLine(QString text) {
    text.replace(u'\n', QStringLiteral(", "));
    return text.isEmpty() ? QStringLiteral("—") : onOneLine(text);
}

QString toLine(const TrackingRow& row) {
    return QStringList{inLine(row.trackingNumber), inLine(row.status), inLine(statusDate(row)),
                       inLine(row.lastPlace)}
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

/// Why there is no answer about a number.
QString reasonOf(const TrackingResult& result) {
    if (result.status == TrackingStatus::none)
        return QStringLiteral("Numer jest pusty.");
    if (result.status == TrackingStatus::networkError || result.status == TrackingStatus::error)
        return result.status + QStringLiteral(": ") + result.lastEvent;
    return QStringLiteral("Usługa śledzenia zgłosiła błąd albo odpowiedziała nie na temat.");
}

/// The reasons in the order in which they first came, each with its numbers.
class Unanswered {
public:
    void add(const QString& number, const TrackingResult& result) {
        const QString reason = reasonOf(result);
        const auto known = std::find_if(m_groups.begin(), m_groups.end(),
                                        [&](const Group& group) { return group.reason == reason; });
        Group& group = known == m_groups.end() ? m_groups.emplace_back(Group{reason, {}}) : *known;
        if (!number.isEmpty() && !group.numbers.contains(number))
            group.numbers.append(number);
    }

    bool isEmpty() const { return m_groups.isEmpty(); }

    void print() const {
        for (const Group& group : m_groups) {
            QString line = group.reason;
            if (!line.endsWith(u'.'))
                line += u'.';
            if (!group.numbers.isEmpty()) {
                line += QStringLiteral(" Bez odpowiedzi: ") +
                        group.numbers.first(std::min(group.numbers.size(), most))
                            .join(QStringLiteral(", "));
            }
            if (group.numbers.size() > most)
                line += QStringLiteral(" i jeszcze %1").arg(group.numbers.size() - most);
            printMessage(line);
        }
    }

private:
    struct Group {
        QString reason;
        QStringList numbers;
    };
    static constexpr qsizetype most = 5; // in a message; the result lists them all

    QList<Group> m_groups;
};

int track(const Options& options) {
    HttpClient client(httpOptions());
    const TrackingService service(client, trackingAccess());
    QList<QFuture<TrackingResult>> answers;
    for (const QString& number : options.numbers)
        answers.append(service.fetch(number));

    bool allPrinted = true;
    Unanswered unanswered;
    QJsonArray json;
    for (qsizetype i = 0; i < answers.size(); ++i) {
        const TrackingResult result = answers[i].result();
        TrackingRow row(SentEntry{{}, {}, {}, options.numbers[i]}, {});
        row.merge(result);
        if (!result.isAnswered)
            unanswered.add(row.trackingNumber, result);
        if (options.json)
            json.append(toJson(row, result.isAnswered));
        else
            allPrinted = printResult(toLine(row)) && allPrinted;
    }
    if (options.json)
        allPrinted = printResult(QJsonDocument(json));
    unanswered.print();
    if (!allPrinted)
        printMessage(QStringLiteral("Nie można wypisać wyniku."));
    return unanswered.isEmpty() && allPrinted ? done : failed;
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
