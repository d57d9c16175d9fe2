#pragma once

#include <QString>

namespace kopertal {

/// What the window's frame tells about the program.
struct FrameTexts {
    QString version;
    QString buildNumber;
    QString websiteLabel;
    QString websiteURL;
    QString supportEmail;
};

} // namespace kopertal
