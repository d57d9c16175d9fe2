// A monkey at the window: it types, pastes, clicks, loads files, switches tabs, makes registers and
// resizes as fast as it can, and looks whether the preview follows the text. WindowMonkey
// [SECONDS [SEED]]
#include "app/addresses/AddressTextEditor.h"
#include "app/addresses/AddressView.h"
#include "app/settings/AppSettings.h"
#include "app/shell/MainWindow.h"
#include "tests/support/Files.h"
#include "tests/support/FollowsText.h"
#include "tests/support/Privileges.h"
#include "ui/MorvikStyle.h"

#include <QApplication>
#include <QClipboard>
#include <QDeadlineTimer>
#include <QFileDialog>
#include <QLineEdit>
#include <QRandomGenerator>
#include <QScopedValueRollback>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>
#include <QTimer>

#include <cstdio>
#include <memory>

using namespace kopertal;

namespace {

constexpr int checkEvery = 40;     // acts between two looks at what the window holds
constexpr int longestText = 50000; // characters; more are parsed too slowly at every look
const QByteArray address = "Jan Nowak\nul. A 1\n00-000 B\n\n";

class Monkey {
public:
    Monkey(int seconds, quint32 seed)
        : m_random(seed),
          m_end(seconds * 1000LL),
          m_settings(PreferencesStore(m_folder.filePath("settings.json"))) {
        m_settings.setSenderAddress("A");
        for (const QByteArray& bytes : {address, address.repeated(3000), address.repeated(400'000),
                                        QByteArray("\0\xff\xfe\x01", 4)})
            m_files << test::writeFile(m_folder.filePath(QString::number(m_files.size())), bytes);
        m_files << m_folder.path() << m_folder.filePath("gone.txt") << "/dev/zero";
    }

    /// Lives through one window after another. Whether all stayed true.
    bool run() {
        QTimer::singleShot(0, qApp, [this] { act(); });
        while (!m_end.hasExpired() && m_isTrue) {
            m_settings.setSenderName(below(2) ? "N" : "");
            m_settings.setSaveFolder(below(4) ? m_folder.path() : "/proc");
            m_window = std::make_unique<MainWindow>(m_settings);
            m_window->addTrackingTab(new QLineEdit);
            m_window->show();
            QApplication::exec();
            m_window->addresses().generationStop().request_stop();
            m_window.reset();
        }
        QThreadPool::globalInstance()->waitForDone();
        return m_isTrue;
    }

private:
    int below(qsizetype bound) { return static_cast<int>(m_random.bounded(qint64(bound))); }

    const QString& anyOf(const QStringList& list) { return list[below(list.size())]; }

    /// What gets mouse and keys, as for a person.
    QWidget* front() const {
        for (QWidget* each : {QApplication::activePopupWidget(), QApplication::activeModalWidget(),
                              QApplication::activeWindow()}) {
            if (each && each->isVisible())
                return each;
        }
        return m_window.get();
    }

    void act() {
        QTimer::singleShot(0, qApp, [this] { act(); }); // first: the act may run a loop of its own
        const int level = QThread::currentThread()->loopLevel();
        if (level <= m_busyLevel)
            return;
        const QScopedValueRollback busy(m_busyLevel, level);
        if (m_end.hasExpired() || !m_isTrue) {
            QApplication::closeAllWindows();
            QApplication::exit();
            return;
        }
        if (++m_acts % checkEvery == 0) {
            AddressTextEditor& editor = m_window->addresses().editor();
            if (editor.document()->characterCount() > longestText)
                editor.replaceText({});
            m_isTrue = testing::followsItsText(editor);
        }
        QWidget* target = front();
        if (auto* panel = qobject_cast<QFileDialog*>(target))
            panel->reject(); // it could rename and delete
        else if (target->windowHandle())
            actOn(target, target->windowHandle());
    }

    void actOn(QWidget* target, QWindow* window) {
        const QPoint at(below(target->width()), below(target->height()));
        const int kind = below(1000);
        if (kind == 0)
            type(window, Qt::CTRL | Qt::Key_Q);
        else if (kind < 50)
            m_window->resize(300 + below(2200), 300 + below(1500));
        else if (kind < 100)
            m_window->addresses().loadFile(anyOf(m_files));
        else if (kind < 200)
            QApplication::clipboard()->setText(anyOf(m_texts).repeated(1 + below(3)));
        else if (kind < 400)
            click(window, below(8) ? Qt::LeftButton : Qt::RightButton, at);
        else if (kind < 750)
            type(window, QKeySequence(anyOf(m_keys))[0]);
        else
            type(window, char('!' + below(94)));
    }

    // A press can close the window and delete it; what is released is gone then.
    static void click(const QPointer<QWindow>& window, Qt::MouseButton button, QPoint at) {
        QTest::mousePress(window, button, {}, at);
        if (window)
            QTest::mouseRelease(window, button, {}, at);
    }

    static void type(const QPointer<QWindow>& window, QKeyCombination keys,
                     const QString& text = {}) {
        for (const bool isPressed : {true, false}) {
            if (window)
                QTest::simulateEvent(window, isPressed, keys.key(), keys.keyboardModifiers(), text,
                                     false);
        }
    }

    static void type(QWindow* window, char character) {
        type(window, QTest::asciiToKey(character), QString(QLatin1Char(character)));
    }

    const QStringList m_texts{
        address,
        "A\r\nB\r\r\nC",
        "👨‍👩‍👧‍👦🇵🇱e\u0301\u202e\u2028\u2029\ufeff\ufffe",
        QString(QChar(0xd800)) + QChar(0xdfff) + QChar(u'\0') + QChar(u'\x1b'),
        u'a' + QString(2000, QChar(0x301)),
        QStringLiteral("x\n\n").repeated(400),
        QString(30'000, u'W')};
    const QStringList m_keys =
        QStringLiteral("Ctrl+A Ctrl+C Ctrl+X Ctrl+V Ctrl+Z Ctrl+Shift+Z Ctrl+1 Ctrl+2 Ctrl+, "
                       "Ctrl+O Ctrl+Return Ctrl+Backspace Ctrl+Home Ctrl+End Shift+End Return "
                       "Shift+Return Esc Tab Backtab Del Backspace Space Left Right Up Down")
            .split(u' ');
    QTemporaryDir m_folder;
    QRandomGenerator m_random;
    QDeadlineTimer m_end;
    AppSettings m_settings;
    std::unique_ptr<MainWindow> m_window;
    QStringList m_files;
    int m_busyLevel = 0;
    int m_acts = 0;
    bool m_isTrue = true;
};

} // namespace

int main(int argc, char** argv) {
    const test::OrdinaryUser user; // whose rights reach no further than the monkey's own folder
    qputenv("PATH", "");           // it starts no other program
    QCoreApplication::setSetuidAllowed(true);
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    morvik::MorvikStyle::install(application);
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 15;
    const quint32 seed = argc > 2 ? QByteArray(argv[2]).toUInt() : 20260312;
    std::printf("seed %u\n", seed);
    if (Monkey(seconds, seed).run())
        return 0;
    std::puts("The preview no longer follows the text.");
    return 1;
}
