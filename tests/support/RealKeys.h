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
    xdotool(QStringList{"key", "--delay", "15"} + keys);
}

inline void typeText(const QString& text) {
    xdotool({"type", "--delay", "8", text});
}

/// A click with the X server's pointer at `place` of `widget`.
inline void clickAt(const QWidget* widget, const QPoint& place) {
    const QPoint at = widget->mapToGlobal(place);
    xdotool({"mousemove", QString::number(at.x()), QString::number(at.y()), "click", "1"});
}

inline void clickAt(const QWidget* widget) {
    clickAt(widget, widget->rect().center());
}

} // namespace kopertal::testing
