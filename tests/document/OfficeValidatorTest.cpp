#include "engine/AddressParsing.h"
#include "engine/RegisterDocument.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace kopertal;

/// Registers before the validator that knows what Office accepts.
class OfficeValidatorTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void registersAreValid() {
        const QString folder = QStringLiteral(KOPERTAL_SOURCE_DIR "/tests/document");
        const QString node = QStandardPaths::findExecutable("node");
        QProcess version;
        version.start(node, {"--print", "parseInt(process.versions.node)"});
        if (!version.waitForFinished() || version.readAllStandardOutput().toInt() < 20)
            QSKIP("The validator needs node 20, which is not at hand.");
        if (!QFileInfo::exists(folder + "/node_modules/@ooxml-tools/validate"))
            QSKIP("The validator is not installed: run npm ci in tests/document.");

        QTemporaryDir scratch;
        const QString onePage = scratch.filePath("1.docx");
        const QString threePages = scratch.filePath("3.docx");
        const auto recipients = [](int count) {
            return parseAddresses(
                QString("Łucja & Żółw\nul. „Długa” <5>\n80-831 Gdańsk\n\n").repeated(count));
        };
        fillTemplate(recipients(4), std::nullopt, onePage, "Nadawca", {});
        fillTemplate(recipients(25), std::nullopt, threePages, "Nadawca", "ul. Prosta 1");

        QProcess validator;
        validator.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        validator.start(node, {folder + "/validate.mjs", onePage, threePages});
        QVERIFY(validator.waitForFinished(120'000));
        QCOMPARE(validator.exitCode(), 0);
        const QJsonDocument findings = QJsonDocument::fromJson(validator.readAllStandardOutput());
        QVERIFY(findings.isArray());

        int repeatedIds = 0;
        for (const auto& value : findings.array()) {
            const QJsonObject finding = value.toObject();
            const bool isRepeatedId = finding["id"] == "Sem_UniqueAttributeValue" &&
                                      finding["path"].toString().endsWith("/wp:docPr[1]");
            QVERIFY2(isRepeatedId && finding["document"] == threePages,
                     QJsonDocument(finding).toJson().constData());
            ++repeatedIds;
        }
        // One for each of the page's five drawings, from Office2010: the validator has looked.
        QCOMPARE(repeatedIds, 5);
    }
};

QTEST_GUILESS_MAIN(OfficeValidatorTest)
#include "OfficeValidatorTest.moc"
