#pragma once

#include <QProcess>
#include <QStringList>
#include <QTest>
#include <QWidget>

namespace kopertal::testing {

/// Runs xdotool and lets the window take what it sends.
inline void xdotool(const QStringList& arguments) {
    QProcess tool;
    tool.start(QStringLiteral("xdotool"), arguments);
    QVERIFY2(tool.waitForStarted(), "xdotool is missing");
    QTRY_COMPARE_WITH_TIMEOUT(tool.state(), QProcess::NotRunning, 20000);
    QCOMPARE(tool.exitCode(), 0);
    QTest::qWait(60);
}

/// What xdotool says.
inline QString askXdotool(const QStringList& arguments) {
    QProcess tool;
    tool.start("xdotool", arguments);
    tool.waitForFinished(10000);
    return QString::fromUtf8(tool.readAllStandardOutput()).trimmed();
}

/// The visible windows of any program with that title.
inline QString windowsNamed(const QString& title) {
    return askXdotool({"search", "--onlyvisible", "--name", '^' + title + '$'});
}

/// Key presses of the X server: "ctrl+Return", "Tab", …
inline void pressKeys(const QStringList& keys) {
    xdotool(QStringList{QStringLiteral("key"), QStringLiteral("--delay"), QStringLiteral("15")} +
            keys);
}

inline void typeText(const QString& text) {
    xdotool({QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("8"), text});
}

/// A click with the X server's pointer in the middle of `widget`.
inline void clickAt(const QWidget* widget) {
    const QPoint centre = widget->mapToGlobal(widget->rect().center());
    xdotool({QStringLiteral("mousemove"), QString::number(centre.x()), QString::number(centre.y()),
             QStringLiteral("click"), QStringLiteral("1")});
}

} // namespace kopertal::testing
