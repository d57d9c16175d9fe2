#pragma once

#include <QList>
#include <QRectF>
#include <QString>
#include <QStringList>

namespace kopertal::test {

/// A word as it stands on a printed page; millimetres from the page's upper left corner. The box
/// has the height of the font.
struct PrintedWord {
    QString text;
    QRectF box;
};

using PrintedPage = QList<PrintedWord>;

/// Lets the word processor print the documents as PDF files beside them, all in one start of it,
/// with a profile of its own below `folder`. False when it fails.
bool printDocuments(const QStringList& documents, const QString& folder);

/// The pages of a PDF file; none when it cannot be read.
QList<PrintedPage> printedPages(const QString& pdf);

/// The words that stand wholly inside `area`, as they are read, joined without spaces: where a text
/// wraps is the word processor's business.
QString textInside(const PrintedPage& page, const QRectF& area);

/// `text` without white space, to compare with textInside().
QString withoutSpaces(const QString& text);

} // namespace kopertal::test
