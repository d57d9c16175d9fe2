#pragma once

#include <QObject>
#include <QStringList>

#include <functional>

namespace morvik {

/// Ends the application with its last window, and cleans its preferences up when it ends.
class MorvikAppDelegate : public QObject {
    Q_OBJECT

public:
    /// The preferences to remove when the application quits, in order.
    inline static QStringList cleanupKeys;

    /// `removeKey` removes a preference. Needs the application object.
    explicit MorvikAppDelegate(std::function<void(const QString&)> removeKey,
                               QObject* parent = nullptr);
};

} // namespace morvik
