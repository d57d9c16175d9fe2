#pragma once

#include <QString>

#include <functional>

class QWidget;

namespace kopertal {

class AppSettings;

/// Draws the tracking tab's states with `save`, which takes a window and a picture's name. False
/// when one could not be saved.
bool saveTrackingScreens(AppSettings& settings,
                         const std::function<bool(QWidget&, const QString&)>& save);

} // namespace kopertal
