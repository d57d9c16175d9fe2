#pragma once

#include <QList>
#include <QUrl>

/// The user's mail program.
namespace morvik::EmailHelper {

/// Opens a new message in the user's mail program with all of `files` attached: through the
/// desktop's e-mail portal, and through xdg-email where there is none or it fails. What is no
/// readable file is left out; without any file nothing happens. Returns at once and reports
/// nothing. Main thread only.
void sendViaEmail(const QList<QUrl>& files);

} // namespace morvik::EmailHelper
