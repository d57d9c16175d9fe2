#pragma once

#include "tracking/SentBook.h"
#include "tracking/TrackingResult.h"

#include <QList>
#include <QString>
#include <QUuid>

namespace kopertal {

/// One line of the tracking table: a number of the register and what was last learnt of it.
class TrackingRow {
public:
    TrackingRow(const SentEntry& entry, const QString& mailingDate);

    const QUuid& id() const { return m_id; }

    QString name;
    QString address;
    QString trackingNumber;
    QString mailingDate; ///< "yyyy-MM-dd", the day on which the number was added.
    QString status;
    QString lastEvent;
    QString rodzajPrzesylki;
    QString masa;
    QString dataNadaniaAPI; ///< The posting date, as the service has it.
    QString urzadNadania;
    QString urzadPrzeznaczenia;
    bool zakonczonoObsluge = false;
    QString lastPlace;

    const QList<TrackingEvent>& events() const { return m_events; }
    void setEvents(const QList<TrackingEvent>& events);

    /// The time of the event that tells the status, for sorting; empty without events.
    const QString& sortableDate() const { return m_sortableDate; }

    /// Takes over what the service says; what comes from the register stays.
    void merge(const TrackingResult& result);

    bool operator==(const TrackingRow&) const = default;

private:
    void updateSortableDate();

    QUuid m_id;
    QList<TrackingEvent> m_events;
    QString m_sortableDate;
};

/// A row for every entry of the register, in its order.
QList<TrackingRow> trackingRows(const QList<SentBook>& books);

// How a row is shown.

/// The time of the event that tells the status, else "—".
QString statusDate(const TrackingRow& row);

enum class StatusColor { mainText, success, systemRed, systemOrange };
StatusColor statusColor(const QString& status);

struct PlaceLines {
    QString first; ///< "—" when no place is known.
    QString second;
};
PlaceLines placeLines(const QString& lastPlace);

} // namespace kopertal
