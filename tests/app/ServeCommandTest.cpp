#include "tests/support/RawClient.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <memory>

using namespace std::string_literals;

namespace {

/// The program's command, running.
class Serve {
public:
    explicit Serve(const QStringList& options) {
        m_process.start(QStringLiteral(KOPERTAL_PROGRAM), QStringList{"serve"} + options);
        waitFor(QStringLiteral("Ctrl+C"));
        static const QRegularExpression address(QStringLiteral("^http://[0-9.]+:([0-9]+)$"),
                                                QRegularExpression::MultilineOption);
        port = address.match(m_messages).captured(1).toUShort();
    }

    bool waitFor(const QString& message) {
        return QTest::qWaitFor(
                   [&] {
                       m_messages += QString::fromUtf8(m_process.readAllStandardError());
                       return m_messages.contains(message) ||
                              m_process.state() == QProcess::NotRunning;
                   },
                   8000) &&
               m_messages.contains(message);
    }

    bool upload(const std::string& body) {
        return RawClient::ask(port, "POST /upload HTTP/1.1\r\nContent-Length: " +
                                        std::to_string(body.size()) + "\r\n\r\n" + body)
            .starts_with("HTTP/1.1 200");
    }

    int end(int signal = SIGINT) {
        if (m_process.state() == QProcess::Running)
            kill(static_cast<pid_t>(m_process.processId()), signal);
        m_process.waitForFinished(10'000);
        m_messages += QString::fromUtf8(m_process.readAllStandardError());
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }

    QString messages() const { return m_messages; }

    quint16 port = 0;

private:
    QProcess m_process;
    QString m_messages;
};

QByteArray contents(const QString& path) {
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

} // namespace

class ServeCommandTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void showsItsAddressAndEndsCleanly_data() {
        QTest::addColumn<int>("signal");
        QTest::newRow("Ctrl+C") << SIGINT;
        QTest::newRow("terminate") << SIGTERM;
        QTest::newRow("terminal closed") << SIGHUP;
    }

    void showsItsAddressAndEndsCleanly() {
        QFETCH(int, signal);
        Serve serve({});
        QVERIFY(serve.port != 0);
        QVERIFY(serve.messages().contains(QStringLiteral("▀▀▀▀▀▀▀"))); // a finder pattern
        QVERIFY(RawClient::ask(serve.port, "GET /ping\r\n\r\n").ends_with("ok"));
        QVERIFY(serve.upload(std::string(2'340'000, 'x')));
        QVERIFY(serve.waitFor(QStringLiteral("Odebrano zdjęcie (2,3 MB).")));
        QCOMPARE(serve.end(signal), 0);
    }

    void savesEveryPhotoUnderAFreeName() {
        const QTemporaryDir folder;
        Serve serve({"--save-photos", folder.path()});
        const std::string jpeg = "\xFF\xD8\xFF\xE0 obraz";
        // The last two hold a JPEG marker by chance.
        const std::string photos[] = {jpeg,
                                      jpeg + "2",
                                      "--granica\r\n\r\n" + jpeg,
                                      "nic znanego",
                                      "\x89PNG\r\n\x1A\n....\xFF\xD8....",
                                      "\0\0\0\x20"
                                      "ftypheic....\xFF\xD8...."s};
        for (const std::string& photo : photos)
            QVERIFY(serve.upload(photo));
        const QDir there(folder.path());
        QVERIFY(QTest::qWaitFor([&] { return there.entryList(QDir::Files).size() == 6; }));
        QCOMPARE(serve.end(), 0);

        QList<QByteArray> saved;
        static const QRegularExpression name(
            QStringLiteral("^zdjecie_\\d{8}_\\d{6}(_\\d+)?\\.(jpg|png|heic|bin)$"));
        for (const QFileInfo& file : there.entryInfoList(QDir::Files | QDir::Hidden)) {
            QVERIFY2(name.match(file.fileName()).hasMatch(), qPrintable(file.fileName()));
            QVERIFY(serve.messages().contains(file.filePath()));
            saved << file.suffix().toLatin1() + ' ' + contents(file.filePath());
        }
        std::ranges::sort(saved);
        QList<QByteArray> expected{"jpg " + QByteArray::fromStdString(jpeg),
                                   "jpg " + QByteArray::fromStdString(jpeg + "2"),
                                   "jpg " + QByteArray::fromStdString(jpeg),
                                   "bin nic znanego",
                                   "png " + QByteArray::fromStdString(photos[4]),
                                   "heic " + QByteArray::fromStdString(photos[5])};
        std::ranges::sort(expected);
        QCOMPARE(saved, expected);
    }

    void saysWhatItCouldNotSave() {
        auto folder = std::make_unique<QTemporaryDir>();
        Serve serve({"--save-photos", folder->path()});
        folder.reset();
        QVERIFY(serve.upload("zdjecie"));
        QVERIFY(serve.waitFor(QStringLiteral("nie udało się go zapisać")));
        QVERIFY(RawClient::ask(serve.port, "GET /ping\r\n\r\n").ends_with("ok")); // goes on
        QCOMPARE(serve.end(), 1);
    }

    void refusesABusyPort() {
        Serve first({});
        Serve second({"--port", QString::number(first.port)});
        QCOMPARE(second.end(), 1);
        QVERIFY(second.messages().contains(
            QStringLiteral("Nie można otworzyć portu %1").arg(first.port)));
        QCOMPARE(first.end(), 0);
    }

    void refusesWrongUsage_data() {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<int>("exitCode");
        QTest::newRow("help") << QStringList{"--help"} << 0;
        for (const char* port :
             {"0", "65536", "-1", "+80", " 80", "80x", "", "99999999999999999999"})
            QTest::addRow("port '%s'", port) << QStringList{"--port", port} << 2;
        QTest::newRow("no port") << QStringList{"--port"} << 2;
        QTest::newRow("unknown option") << QStringList{"--prot", "80"} << 2;
        QTest::newRow("an argument") << QStringList{"80"} << 2;
        QTest::newRow("no such folder") << QStringList{"--save-photos", "/nie/ma"} << 1;
        QTest::newRow("a file, no folder") << QStringList{"--save-photos", KOPERTAL_PROGRAM} << 1;
    }

    void refusesWrongUsage() {
        QFETCH(QStringList, options);
        QProcess process;
        process.start(QStringLiteral(KOPERTAL_PROGRAM), QStringList{"serve"} + options);
        QVERIFY(process.waitForFinished(5000));
        QTEST(process.exitCode(), "exitCode");
    }
};

QTEST_GUILESS_MAIN(ServeCommandTest)
#include "ServeCommandTest.moc"
