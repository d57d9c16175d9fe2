#include "app/cli/Console.h"

#include <QByteArray>

#include <cstdio>

namespace kopertal {
namespace {

bool printLine(std::FILE* stream, const QString& line) {
    const QByteArray bytes = line.toUtf8() + '\n';
    const auto size = static_cast<size_t>(bytes.size());
    return std::fwrite(bytes.constData(), 1, size, stream) == size && std::fflush(stream) == 0;
}

/// Not the tab, which a terminal may have.
bool isObeyed(char32_t c) {
    switch (QChar::category(c)) {
    case QChar::Other_Control:
        return c != U'\t';
    case QChar::Other_Format:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

/// `text` with what `replace` gives for every character that a terminal obeys.
template <typename Replace>
QString neutralised(const QString& text, Replace replace) {
    QString result;
    for (const char32_t c : text.toUcs4()) {
        const QString character = QString::fromUcs4(&c, 1);
        result += isObeyed(c) ? replace(character) : character;
    }
    return result;
}

} // namespace

bool printResult(const QString& line) {
    return printLine(stdout, line);
}

bool printResult(const QJsonDocument& json) {
    // Such characters only stand in its texts, where an escape means the same.
    return printResult(neutralised(
        QString::fromUtf8(json.toJson(QJsonDocument::Compact)), [](const QString& units) {
            QString escaped;
            for (const QChar unit : units)
                escaped += QStringLiteral("\\u%1").arg(unit.unicode(), 4, 16, QChar(u'0'));
            return escaped;
        }));
}

QString onOneLine(const QString& text) {
    QString line = neutralised(text, [](const QString&) { return QStringLiteral(" "); });
    return line.replace(u'\t', u' ');
}

void printMessage(const QString& line) {
    printLine(stderr, neutralised(line, [](const QString&) { return QString(); }));
}

} // namespace kopertal
