#pragma once

#include "engine/AddressParsing.h"

#include <QList>
#include <QString>

#include <optional>
#include <stop_token>

namespace kopertal {

/// Makes the dispatch register of `addresses` from the template at `templateURL` (without one, from
/// the program's own) at `outputURL`, in place of what is there: ten recipients a page, at least
/// one page, the sender on each; an empty sender value leaves the template's text.
///
/// Blocks until done; any thread. Throws EngineError (no template, no root element), the system's
/// or library's error with its own words, Cancelled once `stop` is requested. After a failure
/// `outputURL` holds the old file or none, and no temporary file is left.
void fillTemplate(const QList<ParsedAddress>& addresses, const std::optional<QString>& templateURL,
                  const QString& outputURL, const QString& senderName, const QString& senderAddress,
                  const std::stop_token& stop = {});

} // namespace kopertal
