#include "tests/support/photo/RegisterPhoto.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace kopertal::test;

namespace {

struct Run {
    int exitCode;
    QStringList lines;
    QByteArray output;
    QString messages;
};

Run scan(const QStringList& arguments, const QByteArray& input = {}) {
    QProcess process;
    process.start(QStringLiteral(KOPERTAL_PROGRAM), QStringList{"scan"} + arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(120'000))
        qFatal("kopertal scan does not end");
    const QByteArray output = process.readAllStandardOutput();
    return {process.exitCode(), QString::fromUtf8(output).split('\n', Qt::SkipEmptyParts), output,
            QString::fromUtf8(process.readAllStandardError())};
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
        const QString path = m_folder.filePath(name);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("cannot write");
        return path;
    }

private Q_SLOTS:
    void printsTheNumbersOfEachPhoto() {
        const QString first = save("zdjęcie.png", photo({"RR473124829PL", "PX1234567890"}));
        const QString second = save("b.jpg", photo({"AB12345678"}));
        const Run run = scan({first, second});
        QCOMPARE(run.lines, QStringList({"PX1234567890", "RR473124829PL", "AB12345678"}));
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.messages, QString());
    }

    void goesOnAfterAPhotoWithoutNumbers() {
        const QString good = save("good.png", photo({"RR473124829PL"}));
        const QString bad = save("bad.png", "no photo");
        const QString blank =
            save("blank.png", encodePage(cv::Mat(300, 400, CV_8U, cv::Scalar(250)), "png"));
        const QString missing = m_folder.filePath("missing.png");
        const Run run = scan({bad, blank, missing, good});
        QCOMPARE(run.lines, QStringList{"RR473124829PL"});
        QCOMPARE(run.exitCode, 1);
        QVERIFY(run.messages.contains(bad + ": nie można odczytać zdjęcia"));
        QVERIFY(run.messages.contains(blank + ": nie znaleziono kodu"));
        QVERIFY(run.messages.contains("Nie można odczytać pliku " + missing));
    }

    void describesPhotosInJson() {
        const QString good = save("good.png", photo({"RR473124829PL"}));
        const QString bad = save("bad.png", "no photo");
        const Run run = scan({"--json", good, bad});
        const QJsonArray photos = QJsonDocument::fromJson(run.output).array();
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
        QCOMPARE(scan({"-"}, bytes).lines, QStringList{"RR473124829PL"});
        const Run json = scan({"--json", "-"}, bytes);
        QCOMPARE(json.exitCode, 0);
        QCOMPARE(QJsonDocument::fromJson(json.output)[0]["numbers"][0]["text"].toString(),
                 QStringLiteral("RR473124829PL"));
        const Run cut = scan({"--json", "-"}, bytes.first(bytes.size() / 2));
        QCOMPARE(cut.exitCode, 1);
        QCOMPARE(QJsonDocument::fromJson(cut.output)[0]["outcome"].toString(),
                 QStringLiteral("unreadable"));
    }

    void refusesWrongUsage() {
        for (const QStringList& arguments : {QStringList{}, {"--colour", "a.jpg"}, {"-", "-"}}) {
            const Run run = scan(arguments);
            QCOMPARE(run.exitCode, 2);
            QVERIFY(run.lines.isEmpty());
            QVERIFY(run.messages.contains("kopertal scan --help"));
        }
    }
};

QTEST_GUILESS_MAIN(ScanCommandTest)
#include "ScanCommandTest.moc"
