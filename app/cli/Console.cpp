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

} // namespace

bool printResult(const QString& line) {
    return printLine(stdout, line);
}

void printMessage(const QString& line) {
    QString visible = line;
    visible.removeIf([](QChar c) { return c.category() == QChar::Other_Control && c != u'\t'; });
    printLine(stderr, visible);
}

} // namespace kopertal
