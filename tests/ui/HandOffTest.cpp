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

#include <functional>
#include <memory>
#include <optional>
#include <sys/stat.h>

using namespace kopertal::test;
using namespace morvik;

namespace {

const QString portalName("org.freedesktop.portal.Desktop");
const QString managerName("org.freedesktop.FileManager1");

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

/// The e-mail portal, which answers with `code`, or refuses; it keeps what the attached files hold.
class MailPortal : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Email")

public:
    QList<QByteArrayList> messages;
    std::optional<uint> code = 0;

public Q_SLOTS:
    QDBusObjectPath ComposeEmail(const QString&, const QVariantMap& options) {
        messages.emplace_back();
        for (const auto& descriptor :
             qdbus_cast<QList<QDBusUnixFileDescriptor>>(options.value("attachment_fds"))) {
            QFile file;
            if (file.open(descriptor.fileDescriptor(), QIODevice::ReadOnly))
                messages.back() << file.readAll();
        }
        const QString path = QString("/org/freedesktop/portal/desktop/request/%1/%2")
                                 .arg(message().service().mid(1).replace(u'.', u'_'),
                                      options.value("handle_token").toString());
        QDBusMessage response =
            QDBusMessage::createSignal(path, "org.freedesktop.portal.Request", "Response");
        response << code.value_or(0) << QVariantMap();
        if (code)
            connection().send(response); // even before the call returns
        else
            sendErrorReply(QDBusError::NotSupported);
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
        QDesktopServices::setUrlHandler("file", this, "openFolder");

        // In xdg-email's place: keeps its arguments, each ended by a zero.
        QByteArray program =
            "#!/bin/sh\nprintf '%s\\0' \"$@\" > 'FILE.part' && mv 'FILE.part' 'FILE'\n";
        program.replace("FILE", QFile::encodeName(m_arguments));
        const QString tool = writeFile(m_folder.filePath("xdg-email"), program);
        QFile::setPermissions(tool, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        qputenv("PATH", QFile::encodeName(m_folder.path()) + ':' + qgetenv("PATH"));
    }

    void init() {
        m_manager = std::make_unique<FileManager>();
        m_portal = std::make_unique<MailPortal>();
        const auto exported = QDBusConnection::ExportAllSlots;
        QVERIFY(
            m_services->registerObject("/org/freedesktop/FileManager1", m_manager.get(), exported));
        QVERIFY(m_services->registerObject("/org/freedesktop/portal/desktop", m_portal.get(),
                                           exported));
        QVERIFY(m_services->registerService(managerName));
        QVERIFY(m_services->registerService(portalName));
        m_opened.clear();
        QFile::remove(m_arguments);
    }

    void cleanupTestCase() { m_bus.stop(); }

    void revealsTheFirstFile() {
        const QList<QUrl> files = make({"książka, 100% \"z\" #1.docx", "b"});
        PanelHelper::revealInFinder(files);
        QTRY_COMPARE(m_manager->shown.size(), 1);
        QCOMPARE(m_manager->shown.front().size(), 1);
        QCOMPARE(QUrl(m_manager->shown.front().front(), QUrl::StrictMode), files.front());
        QTest::qWait(100);
        QVERIFY(m_opened.isEmpty());
    }

    void opensTheFolderWhereNothingReveals() {
        QList<QUrl> files;
        const std::function<void()> obstacles[] = {
            [&] { m_manager->refuses = true; }, [&] { m_services->unregisterService(managerName); },
            [&] { QFile::remove(files.front().toLocalFile()); }};
        for (const auto& obstruct : obstacles) {
            init();
            files = make({"a b.docx"});
            obstruct();
            PanelHelper::revealInFinder(files);
            QTRY_COMPARE(m_opened, QList<QUrl>{QUrl::fromLocalFile(m_folder.path())});
        }
    }

    void revealsNothingElse() {
        PanelHelper::revealInFinder({});
        PanelHelper::revealInFinder({QUrl("https://example.invalid/a.docx")});
        PanelHelper::revealInFinder({QUrl::fromLocalFile("/no/such/folder/a")});
        QTest::qWait(200);
        QVERIFY(m_manager->shown.isEmpty() && m_opened.isEmpty());
    }

    void attachesEveryFile() {
        QByteArrayList expected;
        for (const QString& name : hardNames)
            expected << contentOf(name);
        for (const uint code : {0U, 1U}) { // sent, or cancelled, which is not tried again
            init();
            m_portal->code = code;
            EmailHelper::sendViaEmail(make(hardNames));
            QTRY_COMPARE(m_portal->messages, QList<QByteArrayList>{expected});
            QTest::qWait(300);
            QVERIFY(!QFile::exists(m_arguments));
        }
    }

    void fallsBackToTheTool() {
        QStringList expected;
        for (const QUrl& file : make(hardNames))
            expected << "--attach" << file.toLocalFile();
        const std::function<void()> obstacles[] = {
            [&] { m_portal->code.reset(); }, [&] { m_services->unregisterService(portalName); },
            [&] { m_portal->code = 2; }}; // there is no mail program
        for (const auto& obstruct : obstacles) {
            init();
            obstruct();
            EmailHelper::sendViaEmail(make(hardNames));
            QTRY_COMPARE(toolArguments(), expected);
        }
    }

    /// They would end the connection to the bus.
    void moreFilesThanTheBusTakesGoToTheTool() {
        QStringList many;
        for (int number = 0; number < 17; ++number)
            many << QString("plik %1").arg(number);
        EmailHelper::sendViaEmail(make(many));
        QTRY_COMPARE(toolArguments().size(), 2 * many.size());
        QVERIFY(m_portal->messages.isEmpty());
        EmailHelper::sendViaEmail(make(many.mid(1)));
        QTRY_COMPARE(m_portal->messages.value(0).size(), 16);
    }

    void whatIsNoFileIsLeftOut() {
        const QString pipe = m_folder.filePath("pipe");
        QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        const QList<QUrl> none{QUrl::fromLocalFile(m_folder.filePath("brak")),
                               QUrl::fromLocalFile(m_folder.path()), QUrl::fromLocalFile(pipe),
                               QUrl("https://example.invalid/a"), QUrl()};
        EmailHelper::sendViaEmail(none);
        EmailHelper::sendViaEmail({});
        EmailHelper::sendViaEmail(none + make({"a"}));
        QTRY_COMPARE(m_portal->messages, QList<QByteArrayList>{{contentOf("a")}});
        QVERIFY(!QFile::exists(m_arguments));
    }

    /// The last one: it takes the bus away.
    void worksWithoutABus() {
        m_bus.stop();
        QTRY_VERIFY(!QDBusConnection::sessionBus().isConnected());
        const QList<QUrl> files = make({"a"});
        PanelHelper::revealInFinder(files);
        QTRY_COMPARE(m_opened, QList<QUrl>{QUrl::fromLocalFile(m_folder.path())});
        EmailHelper::sendViaEmail(files);
        QTRY_COMPARE(toolArguments(), (QStringList{"--attach", files.front().toLocalFile()}));
    }

public Q_SLOTS:
    void openFolder(const QUrl& url) { m_opened << url; }

private:
    static QByteArray contentOf(const QString& name) {
        return QByteArrayLiteral("bytes\0\xFF of ") + name.toUtf8().repeated(1000);
    }

    QList<QUrl> make(const QStringList& names) {
        QList<QUrl> files;
        for (const QString& name : names)
            files << QUrl::fromLocalFile(writeFile(m_folder.filePath(name), contentOf(name)));
        return files;
    }

    QStringList toolArguments() const {
        return QString::fromUtf8(contentsOf(m_arguments)).split(u'\0', Qt::SkipEmptyParts);
    }

    const QStringList hardNames{"kopertal.docx",          "dwa słowa, żółć.docx",
                                "\"cudzysłów\" i 'inny'", "-o; rm $HOME `id` &",
                                "nowy\nwiersz\\n",        "100%20?a=b#c"};
    QTemporaryDir m_folder;
    const QString m_arguments = m_folder.filePath("arguments");
    kopertal::testing::OwnBus m_bus;
    std::unique_ptr<QDBusConnection> m_services;
    std::unique_ptr<FileManager> m_manager;
    std::unique_ptr<MailPortal> m_portal;
    QList<QUrl> m_opened;
};

QTEST_MAIN(HandOffTest)
#include "HandOffTest.moc"
