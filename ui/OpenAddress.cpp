#include "ui/OpenAddress.h"

#include <QDesktopServices>
#include <QUrl>

namespace morvik {

void openAddress(const QString& address) {
    const QUrl url(address, QUrl::StrictMode);
    if (url.isValid() && !url.isRelative())
        QDesktopServices::openUrl(url);
}

} // namespace morvik
