#pragma once

#include <QString>

struct ifaddrs;

namespace kopertal {

/// The port that a paired phone knows.
constexpr quint16 pairedPort = 8745;

/// The computer's first IPv4 address that is up and not loopback, in the system's order, in dotted
/// decimal; "127.0.0.1" when there is none.
QString localIPAddress();

/// The same over a list of interfaces, which may be null.
QString firstUsableAddress(const ifaddrs* interfaces);

/// The name under which the local network resolves this computer, ending in ".local": what the
/// multicast DNS responder announces (it may have been changed after a conflict), else the system's
/// name without its domain, else "Mac.local". Waits for the responder for at most a second.
QString localHostname();

/// What a phone opens to be paired: `pairingPage`, an https address ending in "/zq/", with this
/// computer's name and the paired port.
QString pairingURL(const QString& pairingPage);

/// The same with the name `hostname` that localHostname() gave.
QString pairingURL(const QString& pairingPage, const QString& hostname);

/// This computer's own pairing page, which the other leads to.
QString directPairingURL(const QString& hostname);

} // namespace kopertal
