#include "app/screens/TrackingScreens.h"

#include "app/settings/AppSettings.h"
#include "app/shell/MainWindow.h"
#include "app/tracking/TrackingTable.h"
#include "app/tracking/TrackingView.h"
#include "net/HttpCarrier.h"
#include "tracking/TrackingTableModel.h"

#include <QLineEdit>
#include <QTest>

#include <array>
#include <vector>

namespace kopertal {
namespace {

/// A service that is still thinking.
class SilentCarrier : public HttpCarrier {
public:
    ~SilentCarrier() override {
        for (const Completion& completion : m_waiting)
            completion({HttpFailure::cancelled, {}, 0, {}});
    }

    void send(HttpRequest, Completion completion) override {
        m_waiting.push_back(std::move(completion));
    }

private:
    std::vector<Completion> m_waiting;
};

TrackingEvent event(const char* time, const char* name, const char* place, bool isFinal = false) {
    return {QString::fromUtf8(time),
            QString::fromUtf8(name),
            QString::fromUtf8(place),
            {},
            {},
            isFinal};
}

TrackingResult delivered() {
    TrackingResult result;
    result.status = QStringLiteral("Doręczona");
    result.lastPlace = QStringLiteral("Toruń — UP Toruń 3\nPolna 14, 87-100 Toruń");
    result.rodzajPrzesylki = QStringLiteral("Przesyłka polecona");
    result.masa = QStringLiteral("0.120");
    result.dataNadania = QStringLiteral("2026-03-09");
    result.urzadNadania = QStringLiteral("UP Gdynia 12");
    result.urzadPrzeznaczenia = QStringLiteral("UP Toruń 3");
    result.zakonczonoObsluge = true;
    result.events = {event("2026-03-09 14:26", "Nadano", "Gdynia — UP Gdynia 12"),
                     event("2026-03-09 21:53", "Przyjęto w sortowni", "Gdańsk — WER Gdańsk"),
                     event("2026-03-10 04:40", "Przyjęto w sortowni", "Bydgoszcz — WER Bydgoszcz"),
                     event("2026-03-11 07:35", "Wydano do doręczenia", "Toruń — UP Toruń 3"),
                     event("2026-03-11 10:42", "Doręczona", "Toruń — UP Toruń 3", true)};
    return result;
}

TrackingResult simple(const char* status, const char* time = nullptr, const char* place = "") {
    TrackingResult result;
    result.status = QString::fromUtf8(status);
    result.lastPlace = QString::fromUtf8(place);
    if (time)
        result.events = {event(time, status, place)};
    return result;
}

TrackingResult longTexts() {
    TrackingResult result = delivered();
    result.status = QStringLiteral("Przekazanie przesyłki doręczycielowi do ponownego doręczenia");
    result.lastPlace =
        QStringLiteral("Konstancin-Jeziorna — Urząd Pocztowy Konstancin-Jeziorna 1 filia nr 2\n"
                       "Generała Władysława Sikorskiego 101/103, 05-510 Konstancin-Jeziorna");
    result.rodzajPrzesylki = QStringLiteral("Przesyłka polecona priorytetowa z potwierdzeniem "
                                            "odbioru i zadeklarowaną wartością");
    result.urzadNadania = result.lastPlace.section(u'\n', 0, 0);
    result.events[3] =
        event("2026-03-11 07:35", "Przekazanie przesyłki doręczycielowi do ponownego doręczenia",
              "Konstancin-Jeziorna — Urząd Pocztowy Konstancin-Jeziorna 1 filia nr 2");
    return result;
}

const std::array<std::pair<const char*, TrackingResult>, 9> samples{
    {{"00559007738294813261", delivered()},
     {"00559007738294813407", simple("Awizowana — doręczono", "2026-03-11 16:05",
                                     "Piła — FUP Piła 1\nBrowarna 6, 64-920 Piła")},
     {"00559007738294813711", simple("Wydano do doręczenia", "2026-03-12 07:58",
                                     "Kraków — UP Kraków 28\nOsiedlowa 2, 31-958 Kraków")},
     {"00559007738301062156", simple("W transporcie", "2026-03-12 03:21",
                                     "Białystok — WER Białystok\nSkładowa 11, 15-213 Białystok")},
     {"00559007738301062392",
      simple("Nadano", "2026-03-11 15:30", "Gdynia — UP Gdynia 12\nMorska 40, 81-225 Gdynia")},
     {"00559007738301062910", simple("Nie znaleziono")},
     {"00659007412055771034", simple("Zwrot do nadawcy", "2026-03-10 12:17",
                                     "Szczecin — UP Szczecin 2\nDworcowa 20, 70-404 Szczecin")},
     {"00659007412055771584", simple("Błąd sieci")},
     {"RR473124829PL", simple("Brak zdarzeń")}}};

void showSamples(TrackingView& view, qsizetype count) {
    view.clearTrackingData();
    QList<ScannedEntry> entries;
    for (qsizetype i = 0; i < count; ++i) {
        const auto& sample = samples[static_cast<size_t>(i) % samples.size()];
        const QString round = i < qsizetype(samples.size()) ? QString() : QString::number(i);
        entries.append({QString::fromUtf8(sample.first) + round, {}});
    }
    view.addTrackingEntries(entries);
    const QList<TrackingRow> rows = view.model().rows();
    for (qsizetype i = 0; i < count; ++i)
        view.model().merge(rows[i].id(), samples[static_cast<size_t>(i) % samples.size()].second);
}

} // namespace

bool saveTrackingScreens(AppSettings& settings,
                         const std::function<bool(QWidget&, const QString&)>& save) {
    MainWindow window(settings);
    TrackingParts parts;
    parts.makeCarrier = [] { return std::make_unique<SilentCarrier>(); };
    auto* view = new TrackingView(settings, parts);
    window.addTrackingTab(view);
    window.content().selectTab(AppTab::tracking);
    bool isSaved = save(window, QStringLiteral("tracking-empty"));

    showSamples(*view, samples.size());
    isSaved &= save(window, QStringLiteral("tracking-unselected"));
    window.resize(1160, 728);
    view->table().selectRow(0);
    view->table().setFocus(Qt::MouseFocusReason);
    isSaved &= save(window, QStringLiteral("tracking"));
    view->table().clearSelection();
    showSamples(*view, 1'000);
    view->table().selectRow(500);
    isSaved &= save(window, QStringLiteral("tracking-many"));

    showSamples(*view, samples.size());
    view->table().selectRow(1);
    for (const TrackingRow& row : QList<TrackingRow>(view->model().rows().first(3)))
        view->model().merge(row.id(), longTexts());
    isSaved &= save(window, QStringLiteral("tracking-long-texts"));
    settings.setIphoneMode(QStringLiteral("qr"));
    view->findChild<QLineEdit*>()->setText(QStringLiteral("00659007412055771"));
    view->refreshStatuses();
    window.resize(window.minimumSizeHint());
    isSaved &= save(window, QStringLiteral("tracking-smallest-refreshing"));
    view->clearTrackingData();
    return isSaved;
}

} // namespace kopertal
