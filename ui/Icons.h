#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>

class QPainter;

namespace morvik {

/// The line pictures of the kit, by name ("trash", "doc.text", …): drawn sharply at every size and
/// scale, in one colour, with a stroke that suits the size. An unknown name draws nothing.
void paintIcon(QPainter& painter, const QString& name, const QRectF& square, const QColor& color);

QPixmap iconPixmap(const QString& name, int size, const QColor& color, qreal devicePixelRatio);

/// For actions and menus: `color`, and its disabled tone where the action is disabled.
QIcon icon(const QString& name, const QColor& color);

/// A picture in colours of its own, from the SVG file or resource at `path`: a window's icon.
QIcon pictureIcon(const QString& path);

/// Whether the kit has a picture of that name.
bool hasIcon(const QString& name);

} // namespace morvik
