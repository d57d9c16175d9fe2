#include "tests/support/Files.h"
#include "tests/support/RunCommand.h"
#include "tests/support/photo/RegisterPhoto.h"

#include <QDir>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

using namespace kopertal::test;

namespace {

const QString number = QStringLiteral("RR473124829PL");

CommandResult scan(const QStringList& arguments, const QByteArray& input = {}) {
    return runCommand(KOPERTAL_PROGRAM, QStringList{"scan"} + arguments, input);
}

QByteArray photo(const QList<CodeText>& codes, const char* format = "png") {
    return makeScreenshot(codes, format).jpeg;
}

} // namespace

class ScanCommandTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_folder;

    QString save(const QString& name, const QByteArray& bytes) {
        return writeFile(m_folder.filePath(name), bytes);
    }

private Q_SLOTS:
    void printsTheNumbersOfEachPhoto() {
        const QString bad = save("bad.png", "no photo");
        const QString two =
            save("zdjęcie.png", photo({{"Code128", number}, {"Code128", "PX1234567890"}}));
        const QString missing = m_folder.filePath("missing.png");
        const CommandResult run =
            scan({bad, two, missing, "-"}, photo({{"Code128", "AB12345678"}}));
        QCOMPARE(run.output, "PX1234567890\nRR473124829PL\nAB12345678\n");
        QCOMPARE(run.exitCode, 1);
        QVERIFY(run.messages.contains(bad + ": nie można odczytać zdjęcia"));
        QVERIFY(run.messages.contains("Nie można odczytać pliku " + missing));

        const CommandResult whole = scan({"--json", bad, two});
        const QJsonDocument photos = QJsonDocument::fromJson(whole.output.toUtf8());
        QCOMPARE(photos[0]["outcome"], "unreadable");
        QCOMPARE(photos[1]["photo"], two);
        QCOMPARE(photos[1]["numbers"][1]["text"], number);
        QCOMPARE(whole.exitCode, 1);
    }

    /// What follows the picture in its file is not looked at.
    void refusesLargeFiles() {
        constexpr qint64 largest = qint64(64) << 20;
        const QString path = save("large.bmp", photo({{"Code128", number}}, "bmp"));
        for (const bool isRead : {true, false}) {
            QVERIFY(QFile::resize(path, isRead ? largest : largest + 1));
            const CommandResult run = scan({path});
            QCOMPARE(run.output, isRead ? number + '\n' : "");
            QCOMPARE(run.messages.contains("Nie można odczytać pliku " + path + ": jest za duży"),
                     !isRead);
            QCOMPARE(run.exitCode, isRead ? 0 : 1);

            const CommandResult worker = scan({"--json", "-"}, contentsOf(path));
            QCOMPARE(QJsonDocument::fromJson(worker.output.toUtf8())[0]["outcome"],
                     isRead ? "numbers" : "unreadable");
        }
        QVERIFY(scan({"/dev/zero"}).messages.contains("/dev/zero: jest za duży"));
    }

    /// Wherever it is started from and under whatever name.
    void startsItsOwnProgramAndModules() {
        const QDir decoys(m_folder.filePath("decoys"));
        QVERIFY(decoys.mkpath("bin") && decoys.mkpath("lib/kopertal"));
        const QString program = writeFile(decoys.filePath("bin/kopertal"), "#!/bin/sh\n");
        QVERIFY(QFile::setPermissions(program, QFile::Permissions(0x7700)));
        writeFile(decoys.filePath("lib/kopertal/scan.so"), "no module");
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("PATH", decoys.filePath("bin:") + environment.value("PATH"));
        const QString path = save("a.png", photo({{"Code128", number}}));
        for (const char* name : {"kopertal", "./kopertal", KOPERTAL_PROGRAM}) {
            const CommandResult run = runCommand(
                "/bin/bash", {"-c", R"(exec -a "$0" "$@")", name, KOPERTAL_PROGRAM, "scan", path},
                {}, environment, decoys.filePath("bin"));
            QCOMPARE(run.messages, "");
            QCOMPARE(run.output, number + '\n');
        }
    }
};

QTEST_GUILESS_MAIN(ScanCommandTest)
#include "ScanCommandTest.moc"
