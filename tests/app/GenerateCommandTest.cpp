#include "tests/support/Archives.h"
#include "tests/support/Files.h"
#include "tests/support/RunCommand.h"

#include <QDate>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace kopertal::test;

namespace {

const QByteArray twoRecipients = "Żaneta Łoś\nul. Źródlana 1\n00-001 Łódź\n\nJan\nul. B 2\n\n";

} // namespace

/// The program itself, run as a command without a display.
class GenerateCommandTest : public QObject {
    Q_OBJECT

    CommandResult run(const QStringList& arguments, const QByteArray& input = {}) const {
        return runCommand(KOPERTAL_PROGRAM, QStringList("generate") + arguments, input);
    }

    static QStringList workFiles() {
        return QDir().entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    static QByteArray documentOf(const QString& path) {
        return readArchive(path)["word/document.xml"].contents;
    }

    QTemporaryDir m_scratch;

private Q_SLOTS:
    void initTestCase() {
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "LANG", "LC_ALL", "LC_CTYPE"})
            qunsetenv(name);
        qputenv("XDG_CONFIG_HOME", m_scratch.filePath("config").toUtf8());
        qputenv("TMPDIR", m_scratch.filePath("tmp").toUtf8());
    }

    void init() {
        for (const char* folder : {"work", "tmp", "config/kopertal", "save"}) {
            const QString path = m_scratch.filePath(folder);
            QVERIFY(QDir(path).removeRecursively() && QDir().mkpath(path));
        }
        QVERIFY(QDir::setCurrent(m_scratch.filePath("work")));
        writeFile("a.txt", twoRecipients);
    }

    void cleanup() { QVERIFY(QDir(m_scratch.filePath("tmp")).isEmpty()); }

    void takesTheRestFromTheSettings() {
        const QString name = "kopertal_" + QDate::currentDate().toString("yyyyMMdd") + ".docx";
        writeFile("a.txt", "Jan \xa3o\x9c\x01\r\nul. 1\r\n"); // Windows-1250, and no XML
        const CommandResult result = run({"a.txt"});
        QCOMPARE(result.messages, "");
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(result.output, QDir().absoluteFilePath(name) + '\n');
        QVERIFY(documentOf(name).contains(">Jan Łoś<"));

        writeFile(m_scratch.filePath("config/kopertal/settings.json"),
                  R"({"sender.name": "Firma X", "sender.address": "ul. Y", "paths.saveFolder": ")" +
                      m_scratch.filePath("save").toUtf8() + R"("})");
        const QString path = m_scratch.filePath("save/" + name);
        QCOMPARE(run({"a.txt"}).output, path + "\n");
        QVERIFY(documentOf(path).contains(">Firma X<") && documentOf(path).contains(">ul. Y<"));

        run({"--sender-name=Ż & Z", "--sender-address", "", "--output", "o.docx", "a.txt"});
        const QByteArray document = documentOf("o.docx");
        QVERIFY(document.contains(">Ż &amp; Z<") && !document.contains(">ul. Y<"));
    }

    void reportsSkippedEntries() {
        // With what a terminal obeys.
        const QString tricks = QString::fromUtf8("a\x1b\u009b\u007f\u202eb\u2028\U000e0001");
        const CommandResult result =
            run({"--json", "--output", "o.docx"}, "Jan\nul. 1\n\nŻuk \"1\"\n\n" + tricks.toUtf8());
        QCOMPARE(result.messages, "Pominięte wpisy (za mało linii):\nŻuk \"1\"\nab\n");
        QVERIFY(result.output.contains("a\\u001b\\u009b\\u007f\\u202eb\\u2028\\udb40\\udc01"));
        const QJsonObject expected{{"document", QDir().absoluteFilePath("o.docx")},
                                   {"recipients", 1},
                                   {"pages", 1},
                                   {"skipped", QJsonArray{"Żuk \"1\"", tricks}}};
        QCOMPARE(QJsonDocument::fromJson(result.output.toUtf8()).object(), expected);
    }

    void saysWhoFoundNoPlace() {
        QVERIFY(writeArchive("form.dotx", templateEntries("<w:document><w:body/></w:document>")));
        const CommandResult result = run({"a.txt", "--template", "form.dotx"});
        QCOMPARE(result.exitCode, 1);
        QVERIFY(result.messages.endsWith("brakuje adresatów: 2\n"));
    }

    void failsWithAMessage() {
        const std::pair<QStringList, QString> cases[] = {
            {{"only-skipped.txt"}, "Brak adresatów"},
            {{"missing.txt"}, "Nie można odczytać adresów: missing.txt: "},
            {{"/dev/zero"}, "/dev/zero: plik jest większy"},
            {{"a.txt", "-o", "a.txt"}, "Folder zapisu nie istnieje: a.txt"},
            {{"a.txt", "--output", "missing/o.docx"}, "Folder zapisu nie istnieje: missing"},
            {{"a.txt", "-o", "/proc"}, "Nie udało się utworzyć dokumentu: /proc/kopertal_"},
            {{"a.txt", "--template", "/dev/stdin"}, "/dev/stdin: to nie jest plik"},
            {{"a.txt", "--template", "a.txt"}, "Nie udało się utworzyć dokumentu: a.txt: "}};
        writeFile("only-skipped.txt", "A\n\nB\n");
        const QStringList before = workFiles();
        for (const auto& [arguments, message] : cases) {
            const CommandResult result = run(arguments);
            QVERIFY2(result.messages.contains(message), qPrintable(result.messages));
            QCOMPARE(result.exitCode, 1);
            QCOMPARE(result.output, "");
            QCOMPARE(workFiles(), before);
        }
    }

    void refusesWrongUsage() {
        QVERIFY(QDir().mkpath("folder"));
        for (const QString words :
             {"--colour", "a.txt -o", "a.txt a.txt", "a.txt -o . --output x.docx",
              "a.txt --output folder", "a.txt --output new/", "a.txt --output ./a.txt",
              "a.txt --output /dev/null", "--template a.txt --output folder/../a.txt"}) {
            const CommandResult result = run(words.split(u' '));
            QVERIFY2(result.exitCode == 2, qPrintable(words));
            QVERIFY(result.messages.contains("--help"));
            QCOMPARE(contentsOf("a.txt"), twoRecipients);
            QCOMPARE(workFiles(), QStringList({"a.txt", "folder"}));
        }
        QCOMPARE(runCommand(KOPERTAL_PROGRAM, {"generuj"}).exitCode, 2);
    }

    void aSignalLeavesNothing() {
        writeFile("a.txt", twoRecipients.repeated(10'000));
        QProcess process;
        process.start(KOPERTAL_PROGRAM, {"generate", "a.txt", "--output", "o.docx"});
        const QDir tmp(m_scratch.filePath("tmp"));
        QTRY_VERIFY_WITH_TIMEOUT(!tmp.isEmpty(), 30'000); // the work has begun
        kill(static_cast<pid_t>(process.processId()), SIGTERM);
        QVERIFY(process.waitForFinished(60'000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 1);
        QCOMPARE(process.readAllStandardError(), "Przerwano.\n");
        QCOMPARE(workFiles(), QStringList("a.txt"));
    }
};

QTEST_GUILESS_MAIN(GenerateCommandTest)
#include "GenerateCommandTest.moc"
