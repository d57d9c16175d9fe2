#pragma once

#include <QString>

#include <functional>

class QWidget;

namespace morvik::MorvikHelpWindow {

/// Shows the process's one help window. An open one comes to the front as it is; else a new one,
/// with what `content` makes, stands in the middle of the screen, `width` by `height` logical
/// pixels or as much of it as the screen has room for.
void show(const QString& title, int width, int height, const std::function<QWidget*()>& content);

} // namespace morvik::MorvikHelpWindow
