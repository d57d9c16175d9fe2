#pragma once

#include <QImage>
#include <QStringList>

#include <optional>
#include <vector>

/// What a library reads when it is handed the whole page, as programs do that leave all to it.
struct PlainReader {
    const char* name;
    QStringList (*read)(
        const QImage& grey); ///< "format text" each, in this project's format names.
};

/// Those that were built in.
std::vector<PlainReader> plainReaders();

/// Reads in a child process; nothing when the library has ended it.
std::optional<QStringList> readInChild(const PlainReader& reader, const QImage& grey);
