#include "ui/Icons.h"

#include "ui/Tones.h"

#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>

namespace morvik {
namespace {

constexpr double grid = 24;      // the pictures' own units
constexpr int detailedFrom = 30; // below, a picture with a ".small" variant shows that one

QString pathOf(const QString& name) {
    return QStringLiteral(":/morvik/icons/%1.svg").arg(name);
}

/// In pixels of the shown picture: 1.5 at 16, 1.75 at 18, 2 at 32 and above.
double strokeWidth(double size) {
    if (size <= 18)
        return 1.5 + 0.125 * std::max(0.0, size - 16);
    return std::min(2.0, 1.75 + 0.25 * (size - 18) / 14);
}

QByteArray tintedSource(const QString& name, double size, const QColor& color) {
    QString path = pathOf(name + QStringLiteral(".small"));
    if (size >= detailedFrom || !QFile::exists(path))
        path = pathOf(name);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QByteArray source = file.readAll();
    source.replace("currentColor", color.name(QColor::HexRgb).toLatin1());
    source.replace("stroke-width=\"2\"",
                   "stroke-width=\"" + QByteArray::number(strokeWidth(size) * grid / size) + '"');
    return source;
}

class SquareIconEngine : public QIconEngine {
public:
    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
        const int side = std::min(rect.width(), rect.height());
        QRectF square(0, 0, side, side);
        square.moveCenter(QRectF(rect).center());
        paintSquare(*painter, square, mode);
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return pixmap;
    }

protected:
    virtual void paintSquare(QPainter& painter, const QRectF& square, QIcon::Mode mode) = 0;
};

class LineIconEngine : public SquareIconEngine {
public:
    LineIconEngine(QString name, const QColor& color) : m_name(std::move(name)), m_color(color) {}

    QIconEngine* clone() const override { return new LineIconEngine(*this); }

protected:
    void paintSquare(QPainter& painter, const QRectF& square, QIcon::Mode mode) override {
        paintIcon(painter, m_name, square,
                  mode == QIcon::Disabled ? Tones::disabledLabel : m_color);
    }

private:
    QString m_name;
    QColor m_color;
};

class PictureIconEngine : public SquareIconEngine {
public:
    explicit PictureIconEngine(QString path) : m_path(std::move(path)) {}

    QIconEngine* clone() const override { return new PictureIconEngine(*this); }

protected:
    void paintSquare(QPainter& painter, const QRectF& square, QIcon::Mode) override {
        QSvgRenderer(m_path).render(&painter, square);
    }

private:
    QString m_path;
};

} // namespace

bool hasIcon(const QString& name) {
    return QFile::exists(pathOf(name));
}

QPixmap iconPixmap(const QString& name, int size, const QColor& color, qreal devicePixelRatio) {
    const QString key = QStringLiteral("morvik-icon:%1:%2:%3:%4")
                            .arg(name, color.name(QColor::HexArgb))
                            .arg(size)
                            .arg(devicePixelRatio);
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap))
        return pixmap;
    pixmap = QPixmap(QSize(size, size) * devicePixelRatio);
    pixmap.setDevicePixelRatio(devicePixelRatio);
    pixmap.fill(Qt::transparent);
    const QByteArray source = tintedSource(name, size, color);
    if (!source.isEmpty()) {
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setOpacity(color.alphaF());
        QSvgRenderer(source).render(&painter, QRectF(0, 0, size, size));
    }
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

void paintIcon(QPainter& painter, const QString& name, const QRectF& square, const QColor& color) {
    const qreal ratio = painter.device()->devicePixelRatioF();
    painter.drawPixmap(square.topLeft(), iconPixmap(name, qRound(square.width()), color, ratio));
}

QIcon pictureIcon(const QString& path) {
    return QIcon(new PictureIconEngine(path));
}

QIcon icon(const QString& name, const QColor& color) {
    return QIcon(new LineIconEngine(name, color));
}

} // namespace morvik
