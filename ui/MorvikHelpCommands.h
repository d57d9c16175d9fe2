#pragma once

#include <QString>

#include <functional>
#include <optional>

class QMenu;
class QWidget;

namespace morvik {

/// The Help menu of a program that has its help in a window and takes reports by mail.
struct MorvikHelpWindowCommand {
    QString appName;
    QString email;
    std::function<QWidget*()> helpContent;

    void addTo(QMenu* menu) const;
};

/// The Help menu of a program that has its help on the web. Addresses that are not valid open
/// nothing.
struct MorvikHelpCommands {
    QString appName;
    QString helpURL;
    std::optional<QString> rateURL;
    std::optional<QString> termsURL;
    std::optional<QString> privacyURL;

    void addTo(QMenu* menu) const;
};

/// "mailto:" to `email` with the percent-encoded subject "NAME - zgłoszenie".
QString reportAddress(const QString& appName, const QString& email);

/// `text` percent-encoded but for what a URL's query may hold as it is (RFC 3986); unchanged when
/// it is no valid text.
QString queryEncoded(const QString& text);

} // namespace morvik
