#pragma once

#include <QString>

namespace kopertal {

/// Where the tracking service is and how it is addressed.
struct TrackingAccess {
    QString endpoint;         ///< http or https.
    QString serviceNamespace; ///< Of the operation's XML elements.
    QString user;
    QString password;
};

} // namespace kopertal
