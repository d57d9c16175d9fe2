#pragma once

#include "scan/PhotoPipeline.h"
#include "tests/support/ListeningPorts.h"
#include "tests/support/RealKeys.h"
#include "tests/support/ShownParts.h"

#include <QAccessible>
#include <QPointer>

#include <sys/resource.h>
#include <unistd.h>

namespace kopertal::testing {

constexpr int patience = 60'000; // ms, for a loaded machine

/// The text of the code on the picture of `view`.
inline QString codeOn(QWidget* view) {
    const QFuture<QStringList> texts = detectBarcodesStatic(view->grab().toImage());
    if (!QTest::qWaitFor([&] { return texts.isFinished(); }, patience))
        return {};
    return texts.result().value(0);
}

/// While it lives, the program can open no more files or sockets.
class NoDescriptors {
public:
    NoDescriptors() {
        getrlimit(RLIMIT_NOFILE, &m_limit);
        rlimit none = m_limit;
        none.rlim_cur = static_cast<rlim_t>(dup(0)); // what is free is above
        ::close(static_cast<int>(none.rlim_cur));
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &m_limit); }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

private:
    rlimit m_limit{};
};

/// A window for the phone's sheets, and what they have in common.
class SheetWindow {
protected:
    void showWindow() {
        m_window = std::make_unique<QWidget>();
        m_window->resize(760, 640);
        activate(*m_window);
    }

    /// No server outlives the window.
    void closeWindow() {
        m_window.reset();
        QTRY_COMPARE_WITH_TIMEOUT(listeningPorts(), QList<int>(), 5000);
    }

    template <typename View>
    morvik::Sheet* open(View* view) {
        auto* sheet = new morvik::Sheet(view, QStringLiteral("x"), m_window.get());
        sheet->setClosesOnEscape(true);
        QObject::connect(view, &View::closeRequested, sheet, &morvik::Sheet::dismiss);
        sheet->open(view->defaultButton());
        for (QWidget* each : view->template findChildren<QWidget*>()) {
            const QAccessibleInterface* node = QAccessible::queryAccessibleInterface(each);
            if ((each->focusPolicy() & Qt::TabFocus) && node->text(QAccessible::Name).isEmpty())
                qFatal("A %s has no name for a screen reader", each->metaObject()->className());
        }
        return sheet;
    }

    static void addWaysToClose() {
        QTest::addColumn<bool>("isReady");
        QTest::addColumn<QString>("key"); // none: the window goes
        for (const char* key : {"Return", "Escape", ""}) {
            const char* by = *key ? key : "window";
            QTest::addRow("by %s", by) << true << key;
            QTest::addRow("before it is ready by %s", by) << false << key;
        }
    }

    /// The open sheet's server ends with it, in each of the ways.
    void checkServerEndsWithSheet() {
        QFETCH(bool, isReady);
        QFETCH(QString, key);
        if (isReady)
            QTRY_COMPARE_WITH_TIMEOUT(listeningPorts().size(), 1, 10'000);
        if (key.isEmpty())
            m_window.reset();
        else
            QTest::keyClick(QApplication::focusWidget(),
                            key == u"Return" ? Qt::Key_Return : Qt::Key_Escape);
        if (isReady)
            QTRY_COMPARE_WITH_TIMEOUT(listeningPorts().size(), 0, 1000);
        else
            QTest::qWait(2000); // for the late one, which closeWindow() looks for
    }

    std::unique_ptr<QWidget> m_window;
};

} // namespace kopertal::testing
