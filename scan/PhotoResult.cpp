#include "scan/PhotoResult.h"

#include "tracking/TrackingNumber.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <array>
#include <ranges>

namespace kopertal {
namespace {

constexpr qsizetype mostNumbers = 10'000;

struct OutcomeName {
    PhotoOutcome outcome;
    QLatin1String name;
};
constexpr std::array outcomeNames{
    OutcomeName{PhotoOutcome::unreadable, QLatin1String("unreadable")},
    OutcomeName{PhotoOutcome::none, QLatin1String("none")},
    OutcomeName{PhotoOutcome::numbers, QLatin1String("numbers")},
};

/// By Unicode scalar values. UTF-16 units order differently beyond the first plane.
bool isBefore(const Barcode& a, const Barcode& b) {
    return std::ranges::lexicographical_compare(a.text.toUcs4(), b.text.toUcs4());
}

QJsonObject toJson(const QRectF& box) {
    return {{QStringLiteral("x"), box.x()},
            {QStringLiteral("y"), box.y()},
            {QStringLiteral("width"), box.width()},
            {QStringLiteral("height"), box.height()}};
}

std::optional<Barcode> numberFromJson(const QJsonValue& value) {
    const QJsonObject number = value.toObject();
    const QJsonObject box = number.value(QLatin1String("box")).toObject();
    const QString text = number.value(QLatin1String("text")).toString();
    if (text.isEmpty() || cleanBarcode(text) != text)
        return std::nullopt;
    return Barcode{text, number.value(QLatin1String("format")).toString(),
                   QRectF(box.value(QLatin1String("x")).toDouble(),
                          box.value(QLatin1String("y")).toDouble(),
                          box.value(QLatin1String("width")).toDouble(),
                          box.value(QLatin1String("height")).toDouble())};
}

} // namespace

QList<ScannedEntry> PhotoResult::entries() const {
    QList<ScannedEntry> result;
    for (const Barcode& number : numbers)
        result.append({number.text, {}});
    return result;
}

PhotoResult toPhotoResult(const QList<Barcode>& codes) {
    PhotoResult result;
    result.outcome = codes.isEmpty() ? PhotoOutcome::none : PhotoOutcome::numbers;
    for (Barcode code : codes) {
        code.text = cleanBarcode(code.text);
        const bool isKnown =
            std::ranges::find(result.numbers, code.text, &Barcode::text) != result.numbers.end();
        if (!code.text.isEmpty() && !isKnown)
            result.numbers.append(code);
    }
    std::ranges::sort(result.numbers, isBefore);
    return result;
}

QJsonObject toJson(const QString& photo, const PhotoResult& result) {
    QJsonArray numbers;
    for (const Barcode& number : result.numbers)
        numbers.append(QJsonObject{{QStringLiteral("text"), number.text},
                                   {QStringLiteral("format"), number.format},
                                   {QStringLiteral("box"), toJson(number.box)}});
    const auto named = std::ranges::find(outcomeNames, result.outcome, &OutcomeName::outcome);
    return {{QStringLiteral("photo"), photo},
            {QStringLiteral("outcome"), QString(named->name)},
            {QStringLiteral("numbers"), numbers}};
}

std::optional<PhotoResult> photoResultFromJson(const QByteArray& answer) {
    const QJsonArray photos = QJsonDocument::fromJson(answer).array();
    const QJsonObject photo = photos.first().toObject();
    const QString outcome = photo.value(QLatin1String("outcome")).toString();
    const auto named = std::ranges::find(outcomeNames, outcome, &OutcomeName::name);
    const QJsonArray numbers = photo.value(QLatin1String("numbers")).toArray();
    if (photos.size() != 1 || named == outcomeNames.end() || numbers.size() > mostNumbers ||
        (named->outcome != PhotoOutcome::numbers && !numbers.isEmpty()))
        return std::nullopt;
    PhotoResult result{named->outcome, {}};
    for (const QJsonValue& value : numbers) {
        const std::optional<Barcode> number = numberFromJson(value);
        if (!number)
            return std::nullopt;
        result.numbers.append(*number);
    }
    return result;
}

} // namespace kopertal
