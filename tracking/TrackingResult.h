#pragma once

#include <QList>
#include <QString>

namespace kopertal {

/// One step in a shipment's history; the texts as the service sent them.
struct TrackingEvent {
    QString time;
    QString name;
    QString place;        ///< "Warszawa — UP Warszawa 1"
    QString placeAddress; ///< "Marszałkowska 1, 00-001 Warszawa"
    QString code;
    bool isFinal = false;

    bool operator==(const TrackingEvent&) const = default;
};

/// What is known of one number. Texts are empty where a value is missing.
struct TrackingResult {
    QString status;
    QString lastEvent; ///< Or what went wrong.
    QString rodzajPrzesylki;
    QString masa; ///< Without a unit.
    QString dataNadania;
    QString urzadNadania;
    QString urzadPrzeznaczenia;
    bool zakonczonoObsluge = false;
    QList<TrackingEvent> events; ///< In the service's order.
    QString lastPlace;           ///< Where it was seen last; the address on a second line.
    /// Whether the service spoke of the shipment, if only to say that it knows none: false for a
    /// fault, an error page and whatever else can come instead.
    bool isAnswered = false;

    bool operator==(const TrackingResult&) const = default;
};

/// The texts of TrackingResult::status that are not the names of events.
namespace TrackingStatus {
inline const QString none = QStringLiteral("—");
inline const QString notFound = QStringLiteral("Nie znaleziono");
inline const QString noEvents = QStringLiteral("Brak zdarzeń");
inline const QString networkError = QStringLiteral("Błąd sieci");
inline const QString error = QStringLiteral("Błąd");
} // namespace TrackingStatus

/// The event that tells the status: the first final one, else the last; null when there is none.
/// Points into `events`.
const TrackingEvent* statusEvent(const QList<TrackingEvent>& events);

} // namespace kopertal
