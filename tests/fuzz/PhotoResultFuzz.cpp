#include "scan/PhotoResult.h"
#include "tests/fuzz/FuzzTarget.h"
#include "tracking/TrackingNumber.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace kopertal;

/// Any bytes as the answer of a recognition process that a photo has taken over.
void feed(QByteArrayView input) {
    const std::optional<PhotoResult> result = photoResultFromJson(input.toByteArray());
    if (!result)
        return;
    require(result->numbers.isEmpty() || result->outcome == PhotoOutcome::numbers,
            "only a photo with numbers has some");
    for (const Barcode& number : result->numbers)
        require(!number.text.isEmpty() && cleanBarcode(number.text) == number.text,
                "numbers are clean");
    const QJsonDocument answer(QJsonArray{toJson(QStringLiteral("-"), *result)});
    const std::optional<PhotoResult> again = photoResultFromJson(answer.toJson());
    require(again && again->outcome == result->outcome &&
                again->numbers.size() == result->numbers.size(),
            "what was taken over can be handed on");
}
