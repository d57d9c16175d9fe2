#include "app/cli/Usage.h"

#include "app/cli/Console.h"

#include <getopt.h>

namespace kopertal {

int refuseUsage(const char* command, const QString& reason) {
    printMessage(reason);
    printMessage(QStringLiteral("Pomoc: kopertal %1 --help").arg(QLatin1String(command)));
    return wrongUsage;
}

int refuseOption(const char* command, int found, char** arguments) {
    // A letter of a bundle is known by optopt only, a long option by its argument only.
    const QString option = optopt > 0 && optopt < 128
                               ? QStringLiteral("-") + QChar(optopt)
                               : QString::fromLocal8Bit(arguments[optind - 1]);
    const QString reason = found == ':' ? QStringLiteral("Brakuje wartości opcji: %1")
                                        : QStringLiteral("Nieznana lub błędna opcja: %1");
    return refuseUsage(command, reason.arg(option));
}

std::optional<int> parseJsonOption(const char* command, const char* help, int count,
                                   char** arguments, bool& isJson) {
    static const option known[] = {
        {"json", no_argument, nullptr, 'j'}, {"help", no_argument, nullptr, 'h'}, {}};
    opterr = 0;
    for (int found; (found = getopt_long(count, arguments, ":h", known, nullptr)) != -1;) {
        if (found == 'h')
            return printResult(QString::fromUtf8(help)) ? done : failed;
        if (found != 'j')
            return refuseOption(command, found, arguments);
        isJson = true;
    }
    return std::nullopt;
}

} // namespace kopertal
