#pragma once

#include "tests/support/RealKeys.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

namespace kopertal::testing {

/// Another program, out of whose window things are dragged onto ours with the X server's pointer.
class DragSource {
public:
    DragSource() {
        m_program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_program.start(QCoreApplication::applicationDirPath() +
                            QStringLiteral("/kopertal_drag_source"),
                        QStringList());
    }

    ~DragSource() {
        m_program.closeWriteChannel();
        m_program.waitForFinished();
    }

    /// Drops `urls` at `target` of the screen, as one drag. Whether it was taken.
    bool drop(const QList<QUrl>& urls, const QPoint& target) {
        QJsonArray list;
        for (const QUrl& url : urls)
            list << url.toString(QUrl::FullyEncoded);
        return drop(QJsonObject{{QStringLiteral("urls"), list}}, target);
    }

    bool drop(const QString& text, const QPoint& target) {
        return drop(QJsonObject{{QStringLiteral("text"), text}}, target);
    }

private:
    bool drop(const QJsonObject& what, const QPoint& target) {
        m_program.write(QJsonDocument(what).toJson(QJsonDocument::Compact) + '\n');
        answer();
        const QString x = QString::number(target.x());
        const QString y = QString::number(target.y());
        const auto words = [](const char* text) {
            return QString::fromLatin1(text).split(QLatin1Char(' '));
        };
        xdotool(words("mousemove 1580 1180 sleep 0.05 mousedown 1 sleep 0.05 mousemove 1570 1170") +
                QStringList{QStringLiteral("mousemove"), x, y} + words("sleep 0.1 mousemove") +
                QStringList{x, QString::number(target.y() + 1)} + words("sleep 0.1 mouseup 1"));
        return answer() == "copied\n";
    }

    QByteArray answer() {
        const auto hasLine = [this] { return m_program.canReadLine(); };
        return QTest::qWaitFor(hasLine, 10000) ? m_program.readLine() : QByteArray();
    }

    QProcess m_program;
};

} // namespace kopertal::testing
