#pragma once

#include <functional>

class QObject;

namespace morvik {

/// What a user has asked of the whole desktop. Each function runs with the value of now, and again
/// when it changes; not for a value that makes no sense.
struct DesktopListener {
    std::function<void(bool isWanted)> motion;
    std::function<void(double factor)> textFactor; ///< 1 is the usual size; see Fonts.h
};

/// Asks the desktop's settings portal (org.freedesktop.portal.Settings) and follows it while
/// `owner` lives; main thread only. Returns at once. Nothing happens where there is no session bus
/// or no portal.
void followDesktopSettings(QObject* owner, DesktopListener listener);

} // namespace morvik
