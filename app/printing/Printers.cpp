#include "app/printing/Printers.h"

#include "app/printing/ChildProcess.h"
#include "app/printing/PrintError.h"

#include <QStandardPaths>

namespace kopertal {
namespace {

QString tool(const QString& name) {
    const QString path = QStandardPaths::findExecutable(name);
    if (path.isEmpty())
        throw PrintError(QStringLiteral("Do drukowania potrzebny jest system CUPS. Zainstaluj "
                                        "pakiety cups i cups-client (brak programu „%1”).")
                             .arg(name));
    return path;
}

/// Names are read from its answers, so they must not be translated.
QProcessEnvironment plainWords() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("LANGUAGE"));
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    return environment;
}

PrintError noPrinters(const QString& reason) {
    return PrintError(QStringLiteral("System nie ma żadnej drukarki. Dodaj ją w ustawieniach "
                                     "drukarek; musi też działać system CUPS (pakiet cups)."),
                      reason);
}

} // namespace

Printers findPrinters(const std::stop_token& stop, std::chrono::milliseconds patience) {
    const QString lpstat = tool(QStringLiteral("lpstat"));
    tool(QStringLiteral("lp"));
    Printers printers;
    ChildProcess list(lpstat, {QStringLiteral("-e")}, plainWords());
    waitFor(list, lpstat, patience, stop);
    printers.names = QString::fromUtf8(list.output()).split(u'\n', Qt::SkipEmptyParts);
    if (printers.names.isEmpty())
        throw noPrinters(list.isSuccess() ? QString() : list.reason());

    ChildProcess choice(lpstat, {QStringLiteral("-d")}, plainWords());
    waitFor(choice, lpstat, patience, stop);
    const QString named =
        QString::fromUtf8(choice.output()).section(QStringLiteral(": "), 1).trimmed();
    printers.preferred = printers.names.contains(named) ? named : printers.names.front();
    return printers;
}

void sendToPrinter(const QString& pdf, const QString& title, const PrintOrder& order,
                   const std::stop_token& stop, std::chrono::milliseconds patience) {
    const QString lp = tool(QStringLiteral("lp"));
    ChildProcess sending(
        lp,
        {QStringLiteral("-d"), order.printer, QStringLiteral("-n"), QString::number(order.copies),
         QStringLiteral("-o"),
         order.isCollated ? QStringLiteral("collate=true") : QStringLiteral("collate=false"),
         QStringLiteral("-t"), title, QStringLiteral("--"), pdf},
        QProcessEnvironment::systemEnvironment());
    waitFor(sending, lp, patience, stop);
    if (!sending.isSuccess())
        throw PrintError(QStringLiteral("Drukarka „%1” nie przyjęła wydruku. Sprawdź jej stan w "
                                        "ustawieniach drukarek.")
                             .arg(order.printer),
                         sending.reason());
}

} // namespace kopertal
