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
/// bytes. Empty unless the body is that of the main document `form`, repeated and filled as this
/// program does it: beyond the texts in the boxes, which take no room of the page, all elements,
/// attributes and texts are the form's. So each page fills one sheet, and none depends on another.
std::vector<qsizetype> pageBounds(const QByteArray& mainDocument, const QByteArray& form);

/// A finished register as documents of ten pages each, cut at its page breaks; their page numbers
/// are texts and run through. Beyond the cut, every byte of the main document stays. A file that
/// cannot be cut, because it is not as this program has written it, is a single piece, itself.
class RegisterPieces {
public:
    /// Reads the file. Throws FileError when its work folder cannot be made.
    explicit RegisterPieces(const QString& document);

    int count() const;
    /// The pages of all pieces, 0 when that is not known; then there is one piece.
    int pages() const;
    /// The pages of one piece by these page breaks; 0 when they are not known.
    int pagesOf(int piece) const;

    /// Writes a piece as a document. Throws PrintError when the file cannot be read, FileError when
    /// the piece cannot be written, Cancelled.
    void write(int piece, const QString& path, const std::stop_token& stop);

private:
    QString m_document;
    WorkFolder m_folder;
    QByteArray m_main;
    std::vector<qsizetype> m_bounds;
};

} // namespace kopertal
