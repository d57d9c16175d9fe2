#include "tests/support/Files.h"
#include "tests/support/OpenedAddresses.h"
#include "tests/support/OwnBus.h"
#include "ui/EmailHelper.h"
#include "ui/MorvikHelpCommands.h"
#include "ui/PanelHelper.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QDBusVirtualObject>
#include <QMenu>
#include <QTest>

#include <functional>
#include <memory>
#include <sys/stat.h>

using namespace kopertal::test;
using namespace morvik;

namespace {

const QString portalName("org.freedesktop.portal.Desktop");

} // namespace

/// The file manager and the e-mail portal. Keeps the addresses it is asked to show, and what the
/// files attached to each message hold.
class Desktop : public QDBusVirtualObject {
    Q_OBJECT

public:
    QStringList shown;
    QList<QByteArrayList> messages;
    uint code = 0; ///< The portal's response.
    bool refuses = false;

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& call, const QDBusConnection& bus) override {
        QVariantList answer;
        if (call.member() == "ShowItems")
            shown << call.arguments().at(0).toStringList();
        else if (call.member() == "ComposeEmail")
            answer << QVariant::fromValue(compose(call, bus));
        else
            return false;
        bus.send(refuses ? call.createErrorReply(QDBusError::Failed, {})
                         : call.createReply(answer));
        return true;
    }

private:
    QDBusObjectPath compose(const QDBusMessage& call, const QDBusConnection& bus) {
        const auto options = qdbus_cast<QVariantMap>(call.arguments().at(1));
        messages.emplace_back();
        for (const auto& descriptor :
             qdbus_cast<QList<QDBusUnixFileDescriptor>>(options.value("attachment_fds"))) {
            QFile file;
            if (file.open(descriptor.fileDescriptor(), QIODevice::ReadOnly))
                messages.back() << file.readAll();
        }
        const QString path = QString("/org/freedesktop/portal/desktop/request/%1/%2")
                                 .arg(call.service().mid(1).replace(u'.', u'_'),
                                      options.value("handle_token").toString());
        QDBusMessage response =
            QDBusMessage::createSignal(path, "org.freedesktop.portal.Request", "Response");
        response << code << QVariantMap();
        if (!refuses)
            bus.send(response); // even before the call returns
        return QDBusObjectPath(path);
    }
};

/// Against a stand-in of the desktop's services on a bus of the test's own.
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
        m_desktop = std::make_unique<Desktop>();
        QVERIFY(m_services->registerVirtualObject("/org/freedesktop", m_desktop.get(),
                                                  QDBusConnection::SubPath));
        QVERIFY(m_services->registerService("org.freedesktop.FileManager1"));
        QVERIFY(m_services->registerService(portalName));
        m_opened.clear();
        QFile::remove(m_arguments);
    }

    void cleanupTestCase() { m_bus.stop(); }

    void revealsTheFirstFileOrOpensItsFolder() {
        const QList<QUrl> files = make({"książka, 100% \"z\" #1.docx", "b"});
        PanelHelper::revealInFinder(files);
        QTRY_COMPARE(m_desktop->shown.size(), 1);
        QCOMPARE(QUrl(m_desktop->shown.front(), QUrl::StrictMode), files.front());
        QTest::qWait(100);
        QVERIFY(m_opened.isEmpty());
        m_desktop->refuses = true;
        PanelHelper::revealInFinder(files);
        QTRY_COMPARE(m_opened, QList<QUrl>{QUrl::fromLocalFile(m_folder.path())});
        QFile::remove(files.front().toLocalFile());
        PanelHelper::revealInFinder(files);
        QTRY_COMPARE(m_opened.size(), 2);
    }

    void revealsNothingElse() {
        PanelHelper::revealInFinder({});
        PanelHelper::revealInFinder({QUrl("https://example.invalid/a.docx")});
        PanelHelper::revealInFinder({QUrl::fromLocalFile("/no/such/folder/a")});
        QTest::qWait(200);
        QVERIFY(m_desktop->shown.isEmpty() && m_opened.isEmpty());
    }

    void attachesEveryFile() {
        QByteArrayList expected;
        for (const QString& name : hardNames)
            expected << contentOf(name);
        for (const uint code : {0U, 1U}) { // sent, or cancelled, which is not tried again
            init();
            m_desktop->code = code;
            EmailHelper::sendViaEmail(make(hardNames));
            QTRY_COMPARE(m_desktop->messages, QList<QByteArrayList>{expected});
            QTest::qWait(300);
            QVERIFY(!QFile::exists(m_arguments));
        }
    }

    void fallsBackToTheTool() {
        QStringList names = hardNames;
        const std::function<void()> obstacles[] = {
            [&] { m_desktop->refuses = true; }, [&] { m_services->unregisterService(portalName); },
            [&] { m_desktop->code = 2; }, // there is no mail program
            // The bus takes 16 files; more would end the connection.
            [&] { names << QString("1 2 3 4 5 6 7 8 9 10 11").split(u' '); }};
        for (const auto& obstruct : obstacles) {
            init();
            obstruct();
            QStringList expected;
            const QList<QUrl> files = make(names);
            for (const QUrl& file : files)
                expected << "--attach" << file.toLocalFile();
            EmailHelper::sendViaEmail(files);
            QTRY_COMPARE(toolArguments(), expected);
        }
        QVERIFY(m_desktop->messages.isEmpty());
        EmailHelper::sendViaEmail(make(names.mid(1)));
        QTRY_COMPARE(m_desktop->messages.value(0).size(), 16);
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
        QTRY_COMPARE(m_desktop->messages, QList<QByteArrayList>{{contentOf("a")}});
        QVERIFY(!QFile::exists(m_arguments));
    }

    void reportsAreHandedOverUnchanged() {
        const std::pair<QString, QByteArray> cases[] = {
            {"Żółć 2", "%C5%BB%C3%B3%C5%82%C4%87%202"},
            {"a!$&'()*+,;=:@/?-._~", "a!$&'()*+,;=:@/?-._~"},
            {"#%\"<>[]\\^`{|}\n", "%23%25%22%3C%3E%5B%5D%5C%5E%60%7B%7C%7D%0A"}};
        kopertal::testing::OpenedAddresses opened;
        QList<QByteArray> expected;
        const auto report = [](const QString& name, const QString& email) {
            QMenu menu;
            MorvikHelpWindowCommand{name, email, {}}.addTo(&menu);
            menu.actions().at(1)->trigger();
        };
        for (const auto& [name, encoded] : cases) {
            report(name, "a@b.example");
            expected << "mailto:a@b.example?subject=" + encoded + "%20-%20zg%C5%82oszenie";
            QCOMPARE(opened.list(), expected);
        }
        report("X", "a b@[c");
        QCOMPARE(opened.list(), expected);
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
    std::unique_ptr<Desktop> m_desktop;
    QList<QUrl> m_opened;
};

QTEST_MAIN(HandOffTest)
#include "HandOffTest.moc"
