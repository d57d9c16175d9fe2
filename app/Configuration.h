#pragma once

#include "net/HttpMessage.h"
#include "tracking/TrackingAccess.h"

namespace kopertal {

// What the build and the environment set for the program's parts.

/// The tracking service of the build; KOPERTAL_TRACKING_ENDPOINT in the environment replaces its
/// address for this run.
TrackingAccess trackingAccess();

/// The HTTP client's options; SSL_CERT_FILE in the environment, as usual, names other authorities
/// than the system's.
HttpOptions httpOptions();

/// The web page that brings a phone to this computer; see pairingURL().
QString pairingPage();

} // namespace kopertal
