#pragma once

#include <QByteArray>
#include <QString>

namespace kopertal {

/// A file that is made and written from its start to its end. Whatever the system refuses is a
/// FileError in its own words; QFile has none for a disk that becomes full within a piece.
class NewFile {
public:
    /// Nothing may be there yet.
    explicit NewFile(const QString& path);

    /// Without close(), what was written last may be missing.
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    void write(const char* data, qsizetype size);
    void write(const QByteArray& bytes) { write(bytes.constData(), bytes.size()); }

    /// Puts down what is still held back; nothing is written afterwards.
    void close();

private:
    void flush();

    QString m_path;
    int m_descriptor;
    QByteArray m_heldBack;
};

} // namespace kopertal
