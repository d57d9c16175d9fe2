// DrawIcon PICTURE.svg SIZE RESULT.png: draws the square picture at SIZE pixels a side.

#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

int main(int count, char** arguments) {
    if (count != 4)
        return 2;
    QSvgRenderer picture(QString::fromLocal8Bit(arguments[1]));
    const int size = QByteArray(arguments[2]).toInt();
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    if (!picture.isValid() || image.isNull()) {
        std::fprintf(stderr, "Cannot draw %s at %s\n", arguments[1], arguments[2]);
        return 1;
    }
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    picture.render(&painter);
    painter.end();
    if (!image.save(QString::fromLocal8Bit(arguments[3]))) {
        std::fprintf(stderr, "Cannot write %s\n", arguments[3]);
        return 1;
    }
    return 0;
}
