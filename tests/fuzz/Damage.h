#pragma once

#include "tests/support/Files.h"

#include <QDir>

#include <algorithm>
#include <random>
#include <utility>

namespace kopertal::test {

/// What the files of a folder hold, by their names.
inline QList<QByteArray> filesIn(const QString& folder) {
    QList<QByteArray> files;
    for (const QFileInfo& file : QDir(folder).entryInfoList(QDir::Files, QDir::Name))
        files << contentsOf(file.filePath());
    return files;
}

/// Damaged copies of whole files, endlessly; the same seed gives the same ones.
class Damage {
public:
    Damage(QList<QByteArray> files, unsigned seed) : m_random(seed), m_files(std::move(files)) {}

    QByteArray next() {
        QByteArray file = anyFile();
        for (auto count = below(3); count >= 0; --count)
            change(file);
        return file;
    }

private:
    qsizetype below(qsizetype end) {
        return static_cast<qsizetype>(m_random() %
                                      static_cast<size_t>(std::max<qsizetype>(1, end)));
    }
    const QByteArray& anyFile() { return m_files.at(below(m_files.size())); }

    void change(QByteArray& file) {
        // Headers are where most goes wrong; what comes later gets farther.
        const qsizetype size = below(3) > 0 ? file.size() : std::min<qsizetype>(file.size(), 512);
        const qsizetype at = below(size);
        const QByteArray& other = anyFile();
        switch (below(5)) {
        case 0:
            file = file.first(at) + other.mid(at);
            break;
        case 1:
            file.truncate(at);
            break;
        case 2: // which takes away or adds, too
            file.replace(at, below(64), other.mid(below(other.size()), below(64)));
            break;
        case 3:
            file.replace(at, 16, QByteArray(16, below(2) == 0 ? '\0' : '\xff'));
            break;
        default:
            for (qsizetype i = below(16); i >= 0 && !file.isEmpty(); --i)
                file[below(size)] = static_cast<char>(m_random());
        }
    }

    std::mt19937 m_random;
    QList<QByteArray> m_files;
};

} // namespace kopertal::test
