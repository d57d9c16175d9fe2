#include "tests/support/Files.h"
#include "tests/support/RunCommand.h"
#include "tests/support/photo/RegisterPhoto.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

using namespace kopertal::test;

namespace {

CommandResult scan(const QStringList& arguments, const QByteArray& input = {}) {
    return runCommand(KOPERTAL_PROGRAM, QStringList{"scan"} + arguments, input);
}

QJsonArray json(const CommandResult& run) {
    return QJsonDocument::fromJson(run.output.toUtf8()).array();
}

QByteArray photo(const QStringList& numbers) {
    QList<CodeText> codes;
    for (const QString& number : numbers)
        codes.append({QStringLiteral("Code128"), number});
    return makeScreenshot(codes).jpeg;
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
        const QString first = save("zdjęcie.png", photo({"RR473124829PL", "PX1234567890"}));
        const QString second = save("b.jpg", photo({"AB12345678"}));
        const CommandResult run = scan({first, second});
        QCOMPARE(run.output, "PX1234567890\nRR473124829PL\nAB12345678\n");
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.messages, QString());
    }

    void goesOnAfterAPhotoWithoutNumbers() {
        const QString good = save("good.png", photo({"RR473124829PL"}));
        const QString bad = save("bad.png", "no photo");
        const QString blank =
            save("blank.png", encodePage(cv::Mat(300, 400, CV_8U, cv::Scalar(250)), "png"));
        const QString missing = m_folder.filePath("missing.png");
        const CommandResult run = scan({bad, blank, missing, good});
        QCOMPARE(run.output, "RR473124829PL\n");
        QCOMPARE(run.exitCode, 1);
        QVERIFY(run.messages.contains(bad + ": nie można odczytać zdjęcia"));
        QVERIFY(run.messages.contains(blank + ": nie znaleziono kodu"));
        QVERIFY(run.messages.contains("Nie można odczytać pliku " + missing));
    }

    void describesPhotosInJson() {
        const QString good = save("good.png", photo({"RR473124829PL"}));
        const QString bad = save("bad.png", "no photo");
        const CommandResult run = scan({"--json", good, bad});
        const QJsonArray photos = json(run);
        QCOMPARE(photos.size(), 2);
        QCOMPARE(photos[0]["photo"].toString(), good);
        QCOMPARE(photos[0]["outcome"].toString(), QStringLiteral("numbers"));
        const QJsonValue number = photos[0]["numbers"][0];
        QCOMPARE(number["text"].toString(), QStringLiteral("RR473124829PL"));
        QCOMPARE(number["format"].toString(), QStringLiteral("Code128"));
        QVERIFY(number["box"]["width"].toDouble() > 0.2);
        QCOMPARE(photos[1]["outcome"].toString(), QStringLiteral("unreadable"));
        QCOMPARE(photos[1]["numbers"].toArray(), QJsonArray());
        QCOMPARE(run.exitCode, 1);
    }

    void readsStandardInput() {
        const QByteArray bytes = photo({"RR473124829PL"});
        QCOMPARE(scan({"-"}, bytes).output, "RR473124829PL\n");
        const CommandResult whole = scan({"--json", "-"}, bytes);
        QCOMPARE(whole.exitCode, 0);
        QCOMPARE(json(whole).at(0)["numbers"][0]["text"].toString(),
                 QStringLiteral("RR473124829PL"));
        const CommandResult cut = scan({"--json", "-"}, bytes.first(bytes.size() / 2));
        QCOMPARE(cut.exitCode, 1);
        QCOMPARE(json(cut).at(0)["outcome"].toString(), QStringLiteral("unreadable"));
    }

    /// What follows the picture in its file is not looked at.
    void refusesLargeFiles() {
        constexpr qint64 largest = qint64(64) << 20;
        const QString path =
            save("large.bmp", makeScreenshot({{"Code128", "RR473124829PL"}}, "bmp").jpeg);
        for (const qint64 size : {largest, largest + 1}) {
            const bool isRead = size == largest;
            QVERIFY(QFile::resize(path, size));
            const CommandResult run = scan({path});
            QCOMPARE(run.output, isRead ? "RR473124829PL\n" : "");
            QCOMPARE(run.messages.contains("Nie można odczytać pliku " + path + ": jest za duży"),
                     !isRead);
            QCOMPARE(run.exitCode, isRead ? 0 : 1);

            QProcess worker;
            worker.setStandardInputFile(path);
            worker.start(KOPERTAL_PROGRAM, {"scan", "--json", "-"});
            QVERIFY(worker.waitForFinished(60'000));
            const QByteArray answer = worker.readAllStandardOutput();
            QCOMPARE(QJsonDocument::fromJson(answer)[0]["outcome"].toString(),
                     isRead ? "numbers" : "unreadable");
        }
        QVERIFY(scan({"/dev/zero"}).messages.contains("/dev/zero: jest za duży"));
    }

    /// Wherever it is started from and under whatever name.
    void startsItsOwnProgramAndModules() {
        const QDir decoys(m_folder.filePath("decoys"));
        QVERIFY(decoys.mkpath("bin") && decoys.mkpath("lib/kopertal"));
        const QString started = m_folder.filePath("started");
        const QString program = writeFile(decoys.filePath("bin/kopertal"),
                                          "#!/bin/sh\n: >'" + QFile::encodeName(started) + "'\n");
        QVERIFY(QFile::setPermissions(program, QFile::Permissions(0x7700)));
        writeFile(decoys.filePath("lib/kopertal/scan.so"), "no module");
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("PATH", decoys.filePath("bin:") + environment.value("PATH"));
        const QString path = save("a.png", photo({"RR473124829PL"}));
        for (const char* name : {"kopertal", "./kopertal", KOPERTAL_PROGRAM}) {
            const CommandResult run = runCommand(
                "/bin/bash", {"-c", R"(exec -a "$0" "$@")", name, KOPERTAL_PROGRAM, "scan", path},
                {}, environment, decoys.filePath("bin"));
            QCOMPARE(run.messages, "");
            QCOMPARE(run.output, "RR473124829PL\n");
            QVERIFY(!QFile::exists(started));
        }
    }

    void refusesWrongUsage() {
        for (const QStringList& arguments : {QStringList{}, {"--colour", "a.jpg"}, {"-", "-"}}) {
            const CommandResult run = scan(arguments);
            QCOMPARE(run.exitCode, 2);
            QCOMPARE(run.output, "");
            QVERIFY(run.messages.contains("kopertal scan --help"));
        }
    }
};

QTEST_GUILESS_MAIN(ScanCommandTest)
#include "ScanCommandTest.moc"
