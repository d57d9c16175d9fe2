#include "app/Configuration.h"

#include "app/BuildConfig.h"

#include <QtGlobal>

namespace kopertal {

TrackingAccess trackingAccess() {
    TrackingAccess access{
        QStringLiteral(KOPERTAL_TRACKING_ENDPOINT), QStringLiteral(KOPERTAL_TRACKING_NAMESPACE),
        QStringLiteral(KOPERTAL_TRACKING_USER), QStringLiteral(KOPERTAL_TRACKING_PASSWORD)};
    const QString replaced = qEnvironmentVariable("KOPERTAL_TRACKING_ENDPOINT");
    if (!replaced.isEmpty())
        access.endpoint = replaced;
    return access;
}

HttpOptions httpOptions() {
    HttpOptions options;
    options.userAgent = "Kopertal/" KOPERTAL_VERSION;
    options.authorityFile = qEnvironmentVariable("SSL_CERT_FILE").toStdString();
    return options;
}

QString pairingPage() {
    return QStringLiteral(KOPERTAL_PAIRING_PAGE);
}

} // namespace kopertal
