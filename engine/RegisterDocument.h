#pragma once

#include "engine/AddressParsing.h"

#include <QList>
#include <QString>

#include <optional>
#include <stop_token>

namespace kopertal {

// Bounds of a register: 20 000 pages are a document of 1.3 GB, and what has more lines than this is
// no address but a text without blank lines.
inline constexpr qsizetype maxRecipients = 200'000;
inline constexpr qsizetype maxAddressLines = 1'000;

/// The program's own template, a resource of it.
inline constexpr QLatin1String ownTemplate(":/kopertal.dotx");

/// Makes the dispatch register of `addresses` from the template at `templateURL` (without one, from
/// the program's own) at `outputURL`, in place of what is there: ten recipients a page, at least
/// one page, the sender on each; an empty sender value leaves the template's text. Returns how many
/// recipients found a place: fewer than all where the template has no grid for every page, or a
/// shape of one no text box.
///
/// Blocks until done; any thread. Throws EngineError (no template, no root element, a grid or box
/// that cannot be filled), FileError (the system's or a library's failure in its own words, a text
/// beyond the bounds), Cancelled once `stop` is requested. After a failure `outputURL` holds the
/// old file or none, and no temporary file is left.
qsizetype fillTemplate(const QList<ParsedAddress>& addresses,
                       const std::optional<QString>& templateURL, const QString& outputURL,
                       const QString& senderName, const QString& senderAddress,
                       const std::stop_token& stop = {});

} // namespace kopertal
