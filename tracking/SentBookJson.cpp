#include "tracking/SentBookJson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace kopertal {
namespace {

const auto idKey = QStringLiteral("id");
const auto dateKey = QStringLiteral("date");
const auto entriesKey = QStringLiteral("entries");
const auto emailSentDaysKey = QStringLiteral("emailSentDays");
const auto nameKey = QStringLiteral("name");
const auto addressKey = QStringLiteral("address");
const auto trackingNumberKey = QStringLiteral("trackingNumber");

QString idText(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces).toUpper();
}

QJsonObject toJson(const SentEntry& entry) {
    return {{idKey, idText(entry.id)},
            {nameKey, entry.name},
            {addressKey, entry.address},
            {trackingNumberKey, entry.trackingNumber}};
}

QJsonObject toJson(const SentBook& book) {
    QJsonArray entries;
    for (const SentEntry& entry : book.entries)
        entries.append(toJson(entry));
    QJsonArray days;
    for (const qint64 day : book.emailSentDays)
        days.append(day);
    return {{idKey, idText(book.id)},
            {dateKey, book.date},
            {entriesKey, entries},
            {emailSentDaysKey, days}};
}

// Each reader sets its target and returns true, or returns false.

bool readInto(const QJsonValue& value, QString& text) {
    text = value.toString();
    return value.isString();
}

/// Hexadecimal digits in groups of 8-4-4-4-12; QUuid itself also takes braces and what follows.
bool readInto(const QJsonValue& value, QUuid& id) {
    const QString text = value.toString();
    if (text.size() != 36)
        return false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        const bool isHex =
            (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'F') || (c >= u'a' && c <= u'f');
        const bool isHyphenPlace = i == 8 || i == 13 || i == 18 || i == 23;
        if (isHyphenPlace ? c != u'-' : !isHex)
            return false;
    }
    id = QUuid::fromString(text);
    return true;
}

bool readInto(const QJsonValue& value, qint64& number) {
    number = value.toInteger(0);
    return number != 0 || value.toInteger(1) == 0; // the defaults stand for "no whole number"
}

bool readInto(const QJsonValue& value, SentEntry& entry) {
    const QJsonObject object = value.toObject();
    return readInto(object.value(idKey), entry.id) && readInto(object.value(nameKey), entry.name) &&
           readInto(object.value(addressKey), entry.address) &&
           readInto(object.value(trackingNumberKey), entry.trackingNumber);
}

bool readInto(const QJsonValue& value, SentBook& book);

template <typename T>
bool readInto(const QJsonValue& value, QList<T>& list) {
    const QJsonArray array = value.toArray();
    list.resize(array.size());
    for (qsizetype i = 0; i < array.size(); ++i) {
        if (!readInto(array.at(i), list[i]))
            return false;
    }
    return value.isArray();
}

bool readInto(const QJsonValue& value, SentBook& book) {
    const QJsonObject object = value.toObject();
    return readInto(object.value(idKey), book.id) && readInto(object.value(dateKey), book.date) &&
           readInto(object.value(entriesKey), book.entries) &&
           readInto(object.value(emailSentDaysKey), book.emailSentDays);
}

} // namespace

QByteArray encodeSentBooks(const QList<SentBook>& books) {
    QJsonArray array;
    for (const SentBook& book : books)
        array.append(toJson(book));
    // In JSON a slash only stands in strings.
    return QJsonDocument(array).toJson(QJsonDocument::Compact).replace("/", "\\/");
}

std::optional<QList<SentBook>> decodeSentBooks(const QByteArray& json) {
    const QJsonDocument document = QJsonDocument::fromJson(json);
    QList<SentBook> books;
    if (!document.isArray() || !readInto(QJsonValue(document.array()), books))
        return std::nullopt;
    return books;
}

} // namespace kopertal
