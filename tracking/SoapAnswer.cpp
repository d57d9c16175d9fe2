#include "tracking/SoapAnswer.h"

#include "tracking/SoapText.h"

#include <QStringBuilder>
#include <QStringDecoder>

#include <algorithm>
#include <utility>

namespace kopertal {
namespace {

constexpr QStringView relayMarker = u"Centralny System";

QString textOf(QStringView tag, QStringView xml) {
    return extractTag(tag, xml).value_or(QStringView()).toString();
}

bool isTrue(QStringView tag, QStringView xml) {
    return extractTag(tag, xml) == u"true";
}

QString joined(const QString& left, QStringView separator, const QString& right) {
    return left.isEmpty() || right.isEmpty() ? left + right : left % separator % right;
}

TrackingEvent parseEvent(QStringView xml) {
    const auto unitTag = u"ax21:jednostka";
    const auto unit = extractFirstBlock(unitTag, xml);
    const QStringView unitXml = unit.value_or(QStringView());

    TrackingEvent event;
    // The unit has a name of its own, which may stand first.
    event.name = unit ? textOf(u"ax21:nazwa", withoutBlock(unitTag, unitXml, xml))
                      : textOf(u"ax21:nazwa", xml);
    event.time = textOf(u"ax21:czas", xml);
    event.code = textOf(u"ax21:kod", xml);
    event.isFinal = isTrue(u"ax21:konczace", xml);
    const QString locality = textOf(u"ax21:miejscowosc", unitXml);
    event.place = joined(locality, u" — ", textOf(u"ax21:nazwa", unitXml));
    const QString street = textOf(u"ax21:ulica", unitXml);
    const QString house = textOf(u"ax21:nrDomu", unitXml);
    const QString postalCode = textOf(u"ax21:pna", unitXml);
    event.placeAddress = joined(street.isEmpty() ? street : joined(street, u" ", house), u", ",
                                joined(postalCode, u" ", locality));
    return event;
}

QList<TrackingEvent> parseEvents(QStringView xml) {
    const QList<QStringView> blocks = extractAllBlocks(u"ax21:zdarzenie", xml);
    QList<TrackingEvent> events;
    events.reserve(blocks.size());
    for (const QStringView block : blocks)
        events.append(parseEvent(block));
    return events;
}

QString statusText(const QString& eventName) {
    return eventName == u"Odebrano w placówce" ? QStringLiteral("Awizowana — doręczono")
                                               : eventName;
}

QString lastPlaceOf(const QList<TrackingEvent>& events) {
    const auto seen = std::find_if(events.rbegin(), events.rend(), [](const TrackingEvent& event) {
        return !event.place.isEmpty() && !event.place.contains(relayMarker);
    });
    return seen == events.rend() ? QString() : joined(seen->place, u"\n", seen->placeAddress);
}

} // namespace

TrackingResult parseSOAP(QStringView xml) {
    TrackingResult result;
    const auto serviceStatus = extractTag(u"ax21:status", xml);
    if (serviceStatus == u"-1") {
        result.isAnswered = true;
        result.status = TrackingStatus::notFound;
        result.lastEvent = QStringLiteral("Brak danych dla tego numeru");
        return result;
    }
    const auto officeName = [](QStringView tag, QStringView details) {
        return textOf(u"ax21:nazwa", extractFirstBlock(tag, details).value_or(QStringView()));
    };
    const auto shipment = extractFirstBlock(u"ax21:danePrzesylki", xml);
    const QStringView details = shipment.value_or(xml);
    result.rodzajPrzesylki = textOf(u"ax21:rodzPrzes", details);
    result.masa = textOf(u"ax21:masa", details);
    result.dataNadania = textOf(u"ax21:dataNadania", details);
    result.zakonczonoObsluge = isTrue(u"ax21:zakonczonoObsluge", details);
    result.urzadNadania = officeName(u"ax21:urzadNadania", details);
    result.urzadPrzeznaczenia = officeName(u"ax21:urzadPrzezn", details);
    result.events = parseEvents(xml);
    result.isAnswered = serviceStatus || shipment || !result.events.isEmpty();

    const TrackingEvent* const decisive = statusEvent(result.events);
    if (!decisive) {
        result.status = TrackingStatus::noEvents;
        result.lastEvent = QStringLiteral("—");
        return result;
    }
    result.status = statusText(decisive->name);
    const TrackingEvent& last = result.events.last();
    result.lastEvent = last.place.isEmpty() ? last.time : last.time % u" — " % last.name;
    result.lastPlace = lastPlaceOf(result.events);
    return result;
}

TrackingResult parseAnswer(QByteArrayView bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(bytes);
    if (!decoder.hasError())
        return parseSOAP(text);
    TrackingResult result;
    result.status = TrackingStatus::error;
    result.lastEvent = QStringLiteral("Nie można odczytać odpowiedzi");
    return result;
}

} // namespace kopertal
