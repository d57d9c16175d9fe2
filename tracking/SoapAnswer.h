#pragma once

#include "tracking/TrackingResult.h"

#include <QByteArrayView>
#include <QStringView>

namespace kopertal {

/// What the service's answer says. Never fails: any other text is an answer without events. Time
/// and memory are linear in the text.
TrackingResult parseSOAP(QStringView xml);

/// As parseSOAP(), for the bytes received; they must be UTF-8.
TrackingResult parseAnswer(QByteArrayView bytes);

} // namespace kopertal
