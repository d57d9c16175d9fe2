#include "tests/support/Files.h"
#include "tests/support/OwnBus.h"
#include "ui/EmailHelper.h"
#include "ui/PanelHelper.h"

#include <QApplication>
#include <QDBusArgument>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QDesktopServices>
#include <QFile>
#include <QTest>

#include <memory>
#include <sys/stat.h>

using namespace kopertal::test;
using namespace morvik;

namespace {

const auto portalName = QStringLiteral("org.freedesktop.portal.Desktop");
const auto managerName = QStringLiteral("org.freedesktop.FileManager1");

QByteArray readAll(const QDBusUnixFileDescriptor& descriptor) {
    QFile file;
    return file.open(descriptor.fileDescriptor(), QIODevice::ReadOnly) ? file.readAll() : "?";
}

} // namespace

/// The file manager; keeps what it is asked to show.
class FileManager : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    QList<QStringList> shown;
    bool refuses = false;

public Q_SLOTS:
    void ShowItems(const QStringList& addresses, const QString&) {
        shown << addresses;
        if (refuses)
            sendErrorReply(QDBusError::Failed);
    }
};

/// The e-mail portal, which answers with `code`; it keeps what the attached files hold.
class MailPortal : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Email")

public:
    QList<QByteArray> attached;
    int calls = 0;
    bool refuses = false;
    uint code = 0;

public Q_SLOTS:
    QDBusObjectPath ComposeEmail(const QString&, const QVariantMap& options) {
        ++calls;
        if (refuses)
            sendErrorReply(QDBusError::NotSupported);
        const auto files = qdbus_cast<QList<QDBusUnixFileDescriptor>>(
            options.value(QStringLiteral("attachment_fds")));
        for (const auto& file : files)
            attached << readAll(file);
        const QString path = QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2")
                                 .arg(message().service().mid(1).replace(u'.', u'_'),
                                      options.value(QStringLiteral("handle_token")).toString());
        QDBusMessage response = QDBusMessage::createSignal(
            path, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"));
        response << code << QVariantMap();
        connection().send(response); // even before the call returns
        return QDBusObjectPath(path);
    }
};

/// Against stand-ins of the desktop's services on a bus of the test's own.
class HandOffTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        m_services = std::make_unique<QDBusConnection>(m_bus.startSession());
        qDBusRegisterMetaType<QList<QDBusUnixFileDescriptor>>();
        QVERIFY(m_services->registerObject(QStringLiteral("/org/freedesktop/FileManager1"),
                                           &m_manager, QDBusConnection::ExportAllSlots));
        QVERIFY(m_services->registerObject(QStringLiteral("/org/freedesktop/portal/desktop"),
                                           &m_portal, QDBusConnection::ExportAllSlots));
        QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "openFolder");

        // In xdg-email's place: keeps its arguments, each ended by a zero.
        const QString tool = m_folder.filePath("xdg-email");
        writeFile(tool, "#!/bin/sh\nprintf '%s\\0' \"$@\" > \"" +
                            QFile::encodeName(argumentsFile() + QStringLiteral(".part\" && mv \"") +
                                              argumentsFile() + QStringLiteral(".part\" \"") +
                                              argumentsFile()) +
                            "\"\n");
        QFile::setPermissions(tool, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        qputenv("PATH", QFile::encodeName(m_folder.path()) + ':' + qgetenv("PATH"));
    }

    void init() {
        m_manager.shown.clear();
        m_manager.refuses = false;
        m_portal.attached.clear();
        m_portal.calls = 0;
        m_portal.refuses = false;
        m_portal.code = 0;
        m_opened.clear();
        QFile::remove(argumentsFile());
        QVERIFY(m_services->registerService(managerName));
        QVERIFY(m_services->registerService(portalName));
    }

    void cleanupTestCase() { m_bus.stop(); }

    void revealsTheFirstFile() {
        const QString file = make(QStringLiteral("książka, 100% \"z\" #1.docx"));
        PanelHelper::revealInFinder({QUrl::fromLocalFile(file), QUrl::fromLocalFile(make("b"))});
        QTRY_COMPARE(m_manager.shown.size(), 1);
        QCOMPARE(m_manager.shown.front().size(), 1);
        QCOMPARE(QUrl(m_manager.shown.front().front(), QUrl::StrictMode).toLocalFile(), file);
        QTest::qWait(100);
        QVERIFY(m_opened.isEmpty());
    }

    void opensTheFolderWhereNothingReveals() {
        enum class Why { refusal, noManager, noFile };
        for (const Why why : {Why::refusal, Why::noManager, Why::noFile}) {
            init();
            m_manager.refuses = true;
            if (why == Why::noManager)
                m_services->unregisterService(managerName);
            const QString file = make(QStringLiteral("a b.docx"));
            if (why == Why::noFile)
                QFile::remove(file);
            PanelHelper::revealInFinder({QUrl::fromLocalFile(file)});
            QTRY_COMPARE(m_opened, QList<QUrl>{QUrl::fromLocalFile(m_folder.path())});
        }
    }

    void revealsNothingElse() {
        PanelHelper::revealInFinder({});
        PanelHelper::revealInFinder({QUrl(QStringLiteral("https://example.invalid/a.docx"))});
        PanelHelper::revealInFinder({QUrl::fromLocalFile(QStringLiteral("/no/such/folder/a"))});
        QTest::qWait(200);
        QVERIFY(m_manager.shown.isEmpty() && m_opened.isEmpty());
    }

    void attachesEveryFile() {
        QList<QByteArray> expected;
        QList<QUrl> files;
        for (const QString& name : names()) {
            files << QUrl::fromLocalFile(make(name));
            expected << contentOf(name);
        }
        EmailHelper::sendViaEmail(files);
        QTRY_COMPARE(m_portal.calls, 1);
        QCOMPARE(m_portal.attached, expected);
        QTest::qWait(200);
        QVERIFY(!QFile::exists(argumentsFile()));
    }

    void fallsBackToTheTool() {
        QStringList expected;
        QList<QUrl> files;
        for (const QString& name : names()) {
            expected << QStringLiteral("--attach") << make(name);
            files << QUrl::fromLocalFile(expected.back());
        }
        enum class Why { noPortal, refusal, noMailProgram };
        for (const Why why : {Why::noPortal, Why::refusal, Why::noMailProgram}) {
            init();
            m_portal.refuses = why == Why::refusal;
            m_portal.code = why == Why::noMailProgram ? 2 : 0;
            if (why == Why::noPortal)
                m_services->unregisterService(portalName);
            EmailHelper::sendViaEmail(files);
            QTRY_COMPARE(toolArguments(), expected);
        }
    }

    void aCancelledMessageIsNotTriedAgain() {
        m_portal.code = 1;
        EmailHelper::sendViaEmail({QUrl::fromLocalFile(make(QStringLiteral("a")))});
        QTRY_COMPARE(m_portal.calls, 1);
        QTest::qWait(300);
        QVERIFY(!QFile::exists(argumentsFile()));
    }

    /// They would end the connection to the bus.
    void moreFilesThanTheBusTakesGoToTheTool() {
        QList<QUrl> files;
        for (int number = 0; number < 17; ++number)
            files << QUrl::fromLocalFile(make(QStringLiteral("plik %1").arg(number)));
        EmailHelper::sendViaEmail(files);
        QTRY_COMPARE(toolArguments().size(), 2 * files.size());
        QCOMPARE(m_portal.calls, 0);
        EmailHelper::sendViaEmail(files.mid(1));
        QTRY_COMPARE(m_portal.attached.size(), 16);
    }

    void whatIsNoFileIsLeftOut() {
        const QString pipe = m_folder.filePath(QStringLiteral("pipe"));
        QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        const QList<QUrl> none{QUrl::fromLocalFile(m_folder.filePath(QStringLiteral("brak"))),
                               QUrl::fromLocalFile(m_folder.path()), QUrl::fromLocalFile(pipe),
                               QUrl(QStringLiteral("https://example.invalid/a")), QUrl()};
        EmailHelper::sendViaEmail(none);
        EmailHelper::sendViaEmail({});
        EmailHelper::sendViaEmail(none + QList{QUrl::fromLocalFile(make(QStringLiteral("a")))});
        QTRY_COMPARE(m_portal.attached, QList<QByteArray>{contentOf(QStringLiteral("a"))});
        QCOMPARE(m_portal.calls, 1);
        QVERIFY(!QFile::exists(argumentsFile()));
    }

    /// The last one: it takes the bus away.
    void worksWithoutABus() {
        m_bus.stop();
        QTRY_VERIFY(!QDBusConnection::sessionBus().isConnected());
        const QString file = make(QStringLiteral("a"));
        PanelHelper::revealInFinder({QUrl::fromLocalFile(file)});
        QTRY_COMPARE(m_opened, QList<QUrl>{QUrl::fromLocalFile(m_folder.path())});
        EmailHelper::sendViaEmail({QUrl::fromLocalFile(file)});
        QTRY_COMPARE(toolArguments(), (QStringList{"--attach", file}));
    }

public Q_SLOTS:
    void openFolder(const QUrl& url) { m_opened << url; }

private:
    static QStringList names() {
        return {QStringLiteral("kopertal.docx"),          QStringLiteral("dwa słowa, żółć.docx"),
                QStringLiteral("\"cudzysłów\" i 'inny'"), QStringLiteral("-o; rm $HOME `id` &"),
                QStringLiteral("nowy\nwiersz\\n"),        QStringLiteral("100%20?a=b#c")};
    }

    static QByteArray contentOf(const QString& name) {
        return QByteArrayLiteral("bytes\0\xFF of ") + name.toUtf8().repeated(1000);
    }

    QString make(const QString& name) {
        return writeFile(m_folder.filePath(name), contentOf(name));
    }

    QString argumentsFile() const { return m_folder.filePath(QStringLiteral("arguments")); }

    QStringList toolArguments() const {
        return QString::fromUtf8(contentsOf(argumentsFile())).split(u'\0', Qt::SkipEmptyParts);
    }

    QTemporaryDir m_folder;
    kopertal::testing::OwnBus m_bus;
    std::unique_ptr<QDBusConnection> m_services;
    FileManager m_manager;
    MailPortal m_portal;
    QList<QUrl> m_opened;
};

QTEST_MAIN(HandOffTest)
#include "HandOffTest.moc"
