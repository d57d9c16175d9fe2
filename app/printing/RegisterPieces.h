#pragma once

#include "engine/WorkFolder.h"

#include <QByteArray>
#include <QString>

#include <stop_token>
#include <vector>

namespace kopertal {

/// Pages that are laid out together: a word processor's time for such pages grows faster than their
/// number, and each document costs it some tenths of a second.
inline constexpr int pagesPerPiece = 10;

/// Where each page of a register's main document begins, and at last where the final one ends; in
/// bytes. Empty unless the body is one page repeated as this program does it, and nothing in it
/// depends on the pages before: sections, fields, numbering, notes, headers.
std::vector<qsizetype> pageBounds(const QByteArray& mainDocument);

/// A finished register as documents of ten pages each, cut at its page breaks; their page numbers
/// are texts and run through. Beyond the cut, every byte of the main document stays. A file that
/// cannot be cut, because another program has rewritten it, is a single piece, itself.
class RegisterPieces {
public:
    /// Reads the file. Throws FileError when it cannot be copied or its work folder not be made.
    explicit RegisterPieces(const QString& document);

    int count() const;
    /// The pages of all pieces, 0 when that is not known; then there is one piece.
    int pages() const;
    /// The pages of one piece by these page breaks; 0 when they are not known.
    int pagesOf(int piece) const;

    /// Writes a piece as a document. Throws FileError, Cancelled.
    void write(int piece, const QString& path, const std::stop_token& stop);

private:
    QString m_document;
    WorkFolder m_folder;
    QByteArray m_main;
    std::vector<qsizetype> m_bounds;
};

} // namespace kopertal
