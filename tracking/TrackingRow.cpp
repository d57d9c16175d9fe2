#include "tracking/TrackingRow.h"

namespace kopertal {

TrackingRow::TrackingRow(const SentEntry& entry, const QString& date)
    : name(entry.name),
      address(entry.address),
      trackingNumber(entry.trackingNumber),
      mailingDate(date),
      m_id(entry.id) {
}

void TrackingRow::setEvents(const QList<TrackingEvent>& events) {
    m_events = events;
    updateSortableDate();
}

void TrackingRow::updateSortableDate() {
    const TrackingEvent* const event = statusEvent(m_events);
    m_sortableDate = event ? event->time : QString();
}

void TrackingRow::merge(const TrackingResult& result) {
    status = result.status;
    lastEvent = result.lastEvent;
    rodzajPrzesylki = result.rodzajPrzesylki;
    masa = result.masa;
    dataNadaniaAPI = result.dataNadania;
    urzadNadania = result.urzadNadania;
    urzadPrzeznaczenia = result.urzadPrzeznaczenia;
    zakonczonoObsluge = result.zakonczonoObsluge;
    setEvents(result.events);
    lastPlace = result.lastPlace;
}

QList<TrackingRow> trackingRows(const QList<SentBook>& books) {
    QList<TrackingRow> rows;
    for (const SentBook& book : books) {
        for (const SentEntry& entry : book.entries)
            rows.emplaceBack(entry, book.date);
    }
    return rows;
}

QString statusDate(const TrackingRow& row) {
    return row.events().isEmpty() ? QStringLiteral("—") : row.sortableDate();
}

StatusColor statusColor(const QString& status) {
    struct Rule {
        QStringView part;
        StatusColor color;
    };
    static constexpr Rule rules[] = {
        {u"doręczon", StatusColor::success},         {u"Doręczona", StatusColor::success},
        {u"doręczono", StatusColor::success},        {u"Błąd", StatusColor::systemRed},
        {u"Nie znaleziono", StatusColor::systemRed}, {u"transport", StatusColor::systemOrange},
        {u"doręczeni", StatusColor::systemOrange}};
    for (const Rule& rule : rules) {
        if (status.contains(rule.part))
            return rule.color;
    }
    return StatusColor::mainText;
}

PlaceLines placeLines(const QString& lastPlace) {
    if (lastPlace.isEmpty())
        return {QStringLiteral("—"), {}};
    const qsizetype end = lastPlace.indexOf(u'\n');
    if (end < 0)
        return {lastPlace, {}};
    return {lastPlace.first(end), lastPlace.sliced(end + 1)};
}

} // namespace kopertal
