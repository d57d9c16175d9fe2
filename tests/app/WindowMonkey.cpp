// A monkey at the window: it types, pastes, clicks, drags, drops, switches tabs, makes registers
// and resizes as fast as it can. WindowMonkey [SECONDS [SEED]]; prints the seed, and how long the
// window was ever busy.
#include "app/addresses/AddressTextEditor.h"
#include "app/addresses/AddressView.h"
#include "app/settings/AppSettings.h"
#include "app/shell/MainWindow.h"
#include "tests/support/DragSource.h"
#include "tests/support/Privileges.h"
#include "ui/MorvikStyle.h"
#include "ui/TableView.h"

#include <QApplication>
#include <QClipboard>
#include <QDeadlineTimer>
#include <QDesktopServices>
#include <QDir>
#include <QDragEnterEvent>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLineEdit>
#include <QMimeData>
#include <QRandomGenerator>
#include <QScopedValueRollback>
#include <QTemporaryDir>
#include <QThread>
#include <QThreadPool>
#include <QTimer>
#include <QVBoxLayout>

#include <cstdio>
#include <memory>
#include <sys/stat.h>

using namespace kopertal;
using namespace kopertal::testing;

namespace {

constexpr int checkEvery = 40;        // acts between two looks at what the window holds
constexpr int dragEvery = 400;        // a real drag takes half a second
constexpr int longestChecked = 50000; // characters; more are parsed too slowly at every look

QWidget* makeOtherTab() {
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->addWidget(new QLineEdit);
    column->addWidget(new morvik::TableView);
    return page;
}

class Monkey : public QObject {
    Q_OBJECT

public:
    Monkey(int seconds, quint32 seed)
        : m_random(seed),
          m_end(seconds * 1000LL),
          m_settings(PreferencesStore(m_folder.filePath(QStringLiteral("settings.json")))) {
        QDir::setCurrent(m_folder.path());
        m_settings.setSaveFolder(m_folder.path());
        QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "swallow");
        makeFiles();
    }

    ~Monkey() override { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }

    /// Lives through one window after another. Whether all stayed true.
    bool run() {
        while (!m_end.hasExpired() && m_isTrue) {
            m_window = std::make_unique<MainWindow>(m_settings);
            m_window->addTrackingTab(makeOtherTab());
            m_window->show();
            m_pause.start();
            QTimer::singleShot(0, this, &Monkey::act);
            QApplication::exec();
            m_window->addresses().generationStop().request_stop();
            m_window.reset();
            ++m_windows;
        }
        QThreadPool::globalInstance()->waitForDone();
        std::printf("%d acts, %d windows, %d drags; longest pause %lld ms, after %s\n", m_acts,
                    m_windows, m_drags, m_longest, m_slowest);
        return m_isTrue;
    }

public Q_SLOTS:
    void swallow(const QUrl&) {}

private:
    void makeFiles() {
        const auto write = [this](const char* name, const QByteArray& bytes) {
            QFile file(m_folder.filePath(QString::fromLatin1(name)));
            if (file.open(QIODevice::WriteOnly))
                file.write(bytes);
            m_targets << QUrl::fromLocalFile(file.fileName());
        };
        write("few.txt", "\xA3ukasz \xAF"
                         "ak\r\nul. \x8Cl\xB9ska\r\n\r\nAnna\r\n");
        write("many.txt", QByteArray("Jan Nowak\nul. A 1\n00-000 B\n\n").repeated(3000));
        write("binary", QByteArray("\0\xff\xfe\x01", 4).repeated(1000));
        write("line.txt", QByteArray(3'000'000, 'x'));
        write("blank.txt", QByteArray(500'000, '\n'));
        write("huge.txt", QByteArray("Jan Nowak\nul. A 1\n00-000 B\n\n").repeated(400'000));
        m_targets << QUrl::fromLocalFile(m_folder.path())
                  << QUrl::fromLocalFile(m_folder.filePath(QStringLiteral("gone.txt")))
                  << QUrl::fromLocalFile(m_folder.filePath(QStringLiteral("pipe")))
                  << QUrl(QStringLiteral("https://example.invalid/a.txt"))
                  << QUrl(QStringLiteral("file:///dev/zero")) << QUrl(QStringLiteral("file:"));
        mkfifo(QFile::encodeName(m_folder.filePath(QStringLiteral("pipe"))).constData(), 0600);
    }

    int below(int bound) { return static_cast<int>(m_random.bounded(bound)); }

    template <typename List>
    auto any(const List& list) {
        return *(std::begin(list) + below(static_cast<int>(std::size(list))));
    }

    QString hostileText() {
        const QStringList texts{
            QStringLiteral("Jan Kowalski\nul. Testowa 1/2\n00-000 Testowo\n\n"),
            QStringLiteral("A\r\nB\r\r\nC"),
            QStringLiteral("\n \t\u00a0\n\n"),
            QString::fromUtf8(
                "👨‍👩‍👧‍👦🇵🇱e\u0301\u202e\u2028\u2029\ufeff\ufffe"),
            QString(QChar(0xd800)) + QChar(0xdc00) + QChar(0xdfff) + QChar(u'\0') + QChar(u'\x1b'),
            QStringLiteral("<b>&amp;</b><script>]]>\n<img src=\"file:///etc/passwd\">"),
            QStringLiteral("a\u0300").repeated(1) + QString(2000, QChar(0x301)),
            QStringLiteral("x\n\n").repeated(400),
            QString(30'000, u'W')};
        return below(400) == 0 ? QStringLiteral("Nazwa\nul. A 1\n\n").repeated(300'000)
                               : any(texts).repeated(1 + below(3));
    }

    QList<QUrl> someUrls() {
        QList<QUrl> urls;
        for (int count = 1 + below(3); count > 0; --count)
            urls << any(m_targets);
        return urls;
    }

    /// What gets mouse and keys, as for a person.
    QWidget* front() const {
        if (QWidget* popup = QApplication::activePopupWidget())
            return popup;
        if (QWidget* modal = QApplication::activeModalWidget())
            return modal;
        QWidget* active = QApplication::activeWindow();
        return active && active->isVisible() ? active : m_window.get();
    }

    void act() {
        QTimer::singleShot(0, this, &Monkey::act); // first: the act may run a loop of its own
        const int level = QThread::currentThread()->loopLevel();
        if (level <= m_busyLevel)
            return;
        const QScopedValueRollback busy(m_busyLevel, level);
        if (const qint64 pause = m_pause.restart(); pause > m_longest && m_acts > 0) {
            m_longest = pause;
            m_slowest = m_last;
        }
        if (m_end.hasExpired() || !m_isTrue) {
            QApplication::closeAllWindows();
            QApplication::exit();
            return;
        }
        if (++m_acts % checkEvery == 0)
            check();
        QWidget* target = front();
        if (auto* panel = qobject_cast<QFileDialog*>(target))
            choose(panel);
        else if (m_acts % dragEvery == 0)
            dragFromOutside();
        else
            actOn(target);
    }

    void actOn(QWidget* target) {
        QWindow* window = target->windowHandle();
        if (!window)
            return;
        switch (below(22)) {
        case 0:
        case 1:
        case 2:
            return click(target, window);
        case 3:
        case 4:
            return drop(target);
        case 5:
        case 6:
            return paste(window);
        case 7:
            m_last = "resizing";
            return m_window->resize(300 + below(2200), 300 + below(1500));
        case 8:
            if (below(40) == 0)
                m_window->setWindowState(any(std::initializer_list<Qt::WindowState>{
                    Qt::WindowMinimized, Qt::WindowMaximized, Qt::WindowFullScreen,
                    Qt::WindowNoState}));
            return;
        case 9:
            m_settings.setSenderName(below(9) ? QStringLiteral("N") : QString());
            m_settings.setSenderAddress(QStringLiteral("A"));
            return m_settings.setSaveFolder(
                any(QStringList{m_folder.path(), m_folder.path(), QStringLiteral("/proc"),
                                QStringLiteral("/no/such"), QString()}));
        case 10:
        case 11:
        case 12:
        case 13:
            return shortcut(window);
        default:
            return type(window);
        }
    }

    void click(QWidget* target, QWindow* window) {
        m_last = "a click";
        const QPoint at(below(target->width()), below(target->height()));
        const auto button = below(8) ? Qt::LeftButton : Qt::RightButton;
        if (below(5) == 0)
            QTest::mouseDClick(window, button, {}, at);
        else
            QTest::mouseClick(window, button, {}, at);
    }

    void drop(QWidget* target) {
        m_last = "a drop";
        QMimeData data;
        if (below(3))
            data.setUrls(someUrls());
        if (below(2))
            data.setText(hostileText());
        const QPoint at(below(target->width()), below(target->height()));
        QWidget* under = target->childAt(at);
        if (!under)
            return;
        const QPoint there = under->mapFrom(target, at);
        QDragEnterEvent enter(there, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(under, &enter);
        if (below(4)) {
            QDropEvent event(there, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(under, &event);
        } else {
            QDragLeaveEvent leave;
            QApplication::sendEvent(under, &leave);
        }
    }

    void paste(QWindow* window) {
        m_last = "a paste";
        auto* data = new QMimeData; // the clipboard owns it
        data->setText(hostileText());
        if (below(4) == 0)
            data->setHtml(data->text());
        if (below(8) == 0)
            data->setUrls(someUrls());
        QApplication::clipboard()->setMimeData(data);
        QTest::keyClick(window, Qt::Key_V, Qt::ControlModifier);
    }

    void shortcut(QWindow* window) {
        m_last = "a shortcut";
        const Qt::Key keys[] = {Qt::Key_A,      Qt::Key_C,         Qt::Key_X,    Qt::Key_V,
                                Qt::Key_Z,      Qt::Key_Z,         Qt::Key_Y,    Qt::Key_1,
                                Qt::Key_2,      Qt::Key_Comma,     Qt::Key_O,    Qt::Key_Return,
                                Qt::Key_Return, Qt::Key_Backspace, Qt::Key_Home, Qt::Key_End};
        if (below(300) == 0)
            QTest::keyClick(window, Qt::Key_Q, Qt::ControlModifier);
        else if (below(20) == 0)
            QTest::keyClick(window,
                            any(std::initializer_list<Qt::Key>{Qt::Key_K, Qt::Key_E, Qt::Key_W}),
                            Qt::AltModifier);
        else
            QTest::keyClick(window, any(keys),
                            below(6) ? Qt::ControlModifier
                                     : Qt::ControlModifier | Qt::ShiftModifier);
    }

    void type(QWindow* window) {
        m_last = "a key";
        const Qt::Key keys[] = {Qt::Key_Return,  Qt::Key_Return,   Qt::Key_Escape,   Qt::Key_Tab,
                                Qt::Key_Delete,  Qt::Key_Left,     Qt::Key_Up,       Qt::Key_Down,
                                Qt::Key_Right,   Qt::Key_PageUp,   Qt::Key_PageDown, Qt::Key_Space,
                                Qt::Key_Backtab, Qt::Key_Backspace};
        if (below(3) == 0)
            QTest::keyClick(window, any(keys), below(5) ? Qt::NoModifier : Qt::ShiftModifier);
        else
            QTest::keyClick(window, static_cast<char>('!' + below(94)));
    }

    /// Panels can rename and delete: only a name is typed into them.
    void choose(QFileDialog* panel) {
        m_last = "a panel";
        if (below(3))
            return panel->reject();
        auto* name = panel->findChild<QLineEdit*>();
        if (name && panel->windowHandle()) {
            name->setText(any(m_targets).toLocalFile());
            QTest::keyClick(panel->windowHandle(), Qt::Key_Return);
        }
    }

    void dragFromOutside() {
        m_last = "a drag from outside";
        m_window->setWindowState(Qt::WindowNoState);
        m_window->setGeometry(50, 50, 1000, 700);
        QTest::qWait(100);
        const QPoint at = m_window->mapToGlobal(QPoint(below(1000), below(700)));
        if (below(2))
            m_source.drop(someUrls(), at);
        else
            m_source.drop(QStringLiteral("Jan\nul. A 1\n\n"), at);
        ++m_drags;
        m_pause.restart(); // the drag took its time, not the window
    }

    void check() {
        AddressTextEditor& editor = m_window->addresses().editor();
        if (editor.document()->characterCount() > longestChecked)
            return editor.replaceText({});
        const QList<ParsedAddress> fresh = parseAddresses(editor.text());
        const QList<ParsedAddress>& live = editor.live().recipients();
        m_isTrue = fresh.size() == live.size() &&
                   editor.live().warnings() == skippedEntries(editor.text());
        for (qsizetype row = 0; m_isTrue && row < fresh.size(); ++row)
            m_isTrue = fresh[row].name == live[row].name && fresh[row].lines == live[row].lines;
        if (!m_isTrue)
            std::printf("The preview no longer follows the text after %s.\n", m_last);
        const QDir folder(m_folder.path());
        for (const QString& made : folder.entryList({QStringLiteral("*.docx")}))
            QFile::remove(folder.filePath(made));
        m_pause.restart();
    }

    QTemporaryDir m_folder;
    QRandomGenerator m_random;
    QDeadlineTimer m_end;
    AppSettings m_settings;
    std::unique_ptr<MainWindow> m_window;
    DragSource m_source;
    QList<QUrl> m_targets;
    QElapsedTimer m_pause;
    qint64 m_longest = 0;
    const char* m_last = "the start";
    const char* m_slowest = m_last;
    int m_busyLevel = 0;
    int m_acts = 0;
    int m_drags = 0;
    int m_windows = 0;
    bool m_isTrue = true;
};

} // namespace

int main(int argc, char** argv) {
    const test::OrdinaryUser user; // whose rights reach no further than the monkey's own folder
    QCoreApplication::setSetuidAllowed(true);
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    morvik::MorvikStyle::install(application);
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 15;
    const quint32 seed = argc > 2 ? QByteArray(argv[2]).toUInt() : 20260312;
    std::printf("seed %u\n", seed);
    return Monkey(seconds, seed).run() ? 0 : 1;
}

#include "WindowMonkey.moc"
