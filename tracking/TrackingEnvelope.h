#pragma once

#include "tracking/TrackingAccess.h"

#include <QByteArray>
#include <QStringView>

namespace kopertal {

/// The SOAP 1.1 request that asks for one number, in UTF-8. The number stands in it as it is,
/// without escaping: markup in it is sent as markup.
QByteArray trackingEnvelope(const TrackingAccess& access, QStringView number);

} // namespace kopertal
