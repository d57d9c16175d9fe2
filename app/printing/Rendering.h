#pragma once

#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <stop_token>

namespace kopertal {

/// A document that a word processor has not printed after this long is taken for its end. Ten pages
/// take some two seconds; a register of a hundred that cannot be cut, over a minute.
inline constexpr std::chrono::minutes renderingPatience{5};

/// The path of LibreOffice's program. Throws PrintError when it is not there, and says what to
/// install.
QString findWordProcessor();

/// Makes a PDF file of each document, beside it: NAME.docx becomes NAME.pdf. LibreOffice does it,
/// twice at once, with profiles of its own in `folder`, so that one that the user has open does not
/// matter. `rendered` is told how many are done. Throws PrintError, Cancelled.
void renderDocuments(const QStringList& documents, const QString& folder,
                     const std::function<void(int)>& rendered, const std::stop_token& stop,
                     std::chrono::milliseconds patience = renderingPatience);

/// NAME.pdf.
QString renderedPath(const QString& document);

} // namespace kopertal
