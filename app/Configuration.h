#pragma once

#include "app/shell/FrameTexts.h"
#include "net/HttpMessage.h"
#include "tracking/TrackingAccess.h"

#include <chrono>

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

/// The program's version and build, the publisher's web site and address.
FrameTexts frameTexts();

/// Where newer versions are announced, and how often to look there.
QString updateFeed();
std::chrono::seconds updateInterval();

} // namespace kopertal
