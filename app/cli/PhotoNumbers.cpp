#include "app/cli/PhotoNumbers.h"

#include "app/cli/Console.h"
#include "scan/PhotoResult.h"

#include <algorithm>

namespace kopertal {

bool printNumbers(const QString& photo, const PhotoResult& result) {
    if (result.outcome == PhotoOutcome::unreadable)
        printMessage(QStringLiteral("%1: nie można odczytać zdjęcia").arg(photo));
    else if (result.numbers.isEmpty())
        printMessage(QStringLiteral("%1: nie znaleziono kodu").arg(photo));
    return std::ranges::all_of(
        result.numbers, [](const Barcode& number) { return printResult(onOneLine(number.text)); });
}

} // namespace kopertal
