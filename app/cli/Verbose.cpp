#include "app/cli/Verbose.h"

#include "app/cli/Console.h"

#include <QLoggingCategory>
#include <QTime>

#include <algorithm>
#include <string_view>

namespace kopertal {
namespace {

QtMessageHandler otherHandler = nullptr;

/// Any thread: one write a line.
void logLine(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    const std::string_view category = context.category == nullptr ? "" : context.category;
    if (!category.starts_with("kopertal.")) {
        otherHandler(type, context, message);
        return;
    }
    printMessage(QStringLiteral("%1 %2: %3")
                     .arg(QTime::currentTime().toString(QStringLiteral("hh:mm:ss.zzz")),
                          QLatin1String(context.category), message));
}

} // namespace

bool takeVerbose(int& count, char** arguments) {
    char** const end = arguments + count;
    char** const last = std::find(arguments, end, std::string_view("--"));
    char** const kept = std::remove(arguments + 1, last, std::string_view("--verbose"));
    if (count < 2 || kept == last)
        return false;
    count = static_cast<int>(std::copy(last, end, kept) - arguments);
    arguments[count] = nullptr;
    return true;
}

void startLog() {
    otherHandler = qInstallMessageHandler(logLine);
    QLoggingCategory::setFilterRules(QStringLiteral("kopertal.*=true"));
}

} // namespace kopertal
