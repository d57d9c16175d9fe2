#include "app/shell/MissingDisplay.h"

#include "app/cli/Console.h"

#include <QtGlobal>

#include <cstdlib>

namespace kopertal {
namespace {

QtMessageHandler otherHandler = nullptr;

void endWhenFatal(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (type != QtFatalMsg) {
        otherHandler(type, context, message);
        return;
    }
    printMessage(QStringLiteral("Nie można otworzyć okna: brak połączenia z ekranem. Sprawdź "
                                "zmienne DISPLAY, WAYLAND_DISPLAY i QT_QPA_PLATFORM."));
    printMessage(QStringLiteral("Polecenia działają bez ekranu: kopertal --help"));
    std::_Exit(failed); // the fonts are still being read on their thread
}

} // namespace

MissingDisplay::MissingDisplay() {
    otherHandler = qInstallMessageHandler(endWhenFatal);
}

MissingDisplay::~MissingDisplay() {
    qInstallMessageHandler(otherHandler);
}

} // namespace kopertal
