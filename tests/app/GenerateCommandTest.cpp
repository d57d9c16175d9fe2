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

const QByteArray twoRecipients = "Żaneta Łoś\nul. Źródlana 1\n00-001 Łódź\n\nJan\nul. B 2\n";

} // namespace

/// The program itself, run as a command without a display.
class GenerateCommandTest : public QObject {
    Q_OBJECT

private:
    QProcessEnvironment environment() const {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "LANG", "LC_ALL", "LC_CTYPE"})
            environment.remove(name);
        environment.insert("XDG_CONFIG_HOME", m_scratch->filePath("config"));
        environment.insert("TMPDIR", m_scratch->filePath("tmp"));
        return environment;
    }

    void start(QProcess& process, const QStringList& arguments) const {
        process.setProcessEnvironment(environment());
        process.setWorkingDirectory(m_scratch->filePath("work"));
        process.start(KOPERTAL_PROGRAM, arguments);
    }

    CommandResult run(const QStringList& arguments, const QByteArray& input = {}) const {
        return runCommand(KOPERTAL_PROGRAM, arguments, input, environment(),
                          m_scratch->filePath("work"));
    }

    QString write(const QString& name, const QByteArray& bytes) const {
        return writeFile(m_scratch->filePath("work/" + name), bytes);
    }

    QStringList workFiles() const {
        return QDir(m_scratch->filePath("work"))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    static QByteArray documentOf(const QString& path) {
        return readArchive(path)["word/document.xml"].contents;
    }

    static QString todaysName() {
        return "kopertal_" + QDate::currentDate().toString("yyyyMMdd") + ".docx";
    }

    std::unique_ptr<QTemporaryDir> m_scratch;

private Q_SLOTS:
    void init() {
        m_scratch = std::make_unique<QTemporaryDir>();
        for (const char* folder : {"work", "tmp"})
            QVERIFY(QDir(m_scratch->path()).mkdir(folder));
    }

    void cleanup() { QVERIFY(QDir(m_scratch->filePath("tmp")).isEmpty()); }

    void writesUnderAFreeName() {
        write("a.txt", twoRecipients);
        const CommandResult first = run({"generate", "a.txt"});
        QCOMPARE(first.messages, QString());
        QCOMPARE(first.exitCode, 0);
        const QString path = m_scratch->filePath("work/" + todaysName());
        QCOMPARE(first.output, QFileInfo(path).absoluteFilePath() + "\n");
        QVERIFY(documentOf(path).contains("Żaneta Łoś"));

        const CommandResult second = run({"generate", "-"}, twoRecipients);
        QCOMPARE(second.output, QString(path).replace(".docx", "_1.docx") + "\n");
        QVERIFY(QFile::exists(second.output.trimmed()));
    }

    void readsWhatSendersHave() {
        const QByteArray inputs[] = {"Jan \xa3o\x9c\r\nul. 1\r\n\r\nB\r\nb\r\n", // Windows-1250
                                     "Jan \x01Łoś\x1b\nul. 1\n\nB\n\xef\xbf\xbf"
                                     "b"}; // with what XML cannot hold
        write("o.docx", "old");
        for (const QByteArray& bytes : inputs) {
            const CommandResult result = run({"generate", "--json", "--output", "o.docx"}, bytes);
            QCOMPARE(result.exitCode, 0);
            QCOMPARE(QJsonDocument::fromJson(result.output.toUtf8())["recipients"].toInt(), 2);
            QVERIFY(documentOf(m_scratch->filePath("work/o.docx")).contains(">Jan Łoś<"));
        }
    }

    void takesTheRestFromTheSettings() {
        QVERIFY(QDir(m_scratch->path()).mkdir("save"));
        QVERIFY(QDir(m_scratch->path()).mkpath("config/kopertal"));
        writeFile(m_scratch->filePath("config/kopertal/settings.json"),
                  R"({"sender.name": "Firma X", "sender.address": "ul. Y", "paths.saveFolder": ")" +
                      m_scratch->filePath("save").toUtf8() + R"("})");
        const QString path = m_scratch->filePath("save/" + todaysName());
        QCOMPARE(run({"generate"}, twoRecipients).output, path + "\n");
        QVERIFY(documentOf(path).contains(">Firma X<") && documentOf(path).contains(">ul. Y<"));

        const CommandResult given = run(
            {"generate", "--sender-name=Ż & Z", "--sender-address", "", "-o", "."}, twoRecipients);
        const QByteArray document = documentOf(given.output.trimmed());
        QCOMPARE(QFileInfo(given.output.trimmed()).path(), m_scratch->filePath("work"));
        QVERIFY(document.contains(">Ż &amp; Z<") && !document.contains(">ul. Y<"));
    }

    void reportsSkippedEntries() {
        const CommandResult result = run({"generate", "--json", "--output", "o.docx"},
                                         "Anna\x1b\n\nJan\nul. 1\n\nŻuk \"1\"\n");
        QCOMPARE(result.messages, "Pominięte wpisy (za mało linii):\nAnna\nŻuk \"1\"\n");
        const QJsonObject expected{{"document", m_scratch->filePath("work/o.docx")},
                                   {"recipients", 1},
                                   {"pages", 1},
                                   {"skipped", QJsonArray{"Anna\x1b", "Żuk \"1\""}}};
        QCOMPARE(QJsonDocument::fromJson(result.output.toUtf8()).object(), expected);
        QCOMPARE(result.output.count('\n'), 1);
    }

    void printsNothingThatATerminalObeysAsJson() {
        const QString tricks = QString::fromUtf8("a\x1b\u009b\u007f\u202eb\u2028\U000e0001");
        const CommandResult result = run({"generate", "--json", "--output", "o.docx"},
                                         "Jan\nul. 1\n\n" + tricks.toUtf8() + "\n");
        QVERIFY(result.output.contains("a\\u001b\\u009b\\u007f\\u202eb\\u2028\\udb40\\udc01"));
        QCOMPARE(QJsonDocument::fromJson(result.output.toUtf8())["skipped"][0].toString(), tricks);
    }

    void saysWhoFoundNoPlace() {
        const QString form = m_scratch->filePath("form.dotx");
        QVERIFY(writeArchive(form, templateEntries("<w:document><w:body/></w:document>")));
        const CommandResult result =
            run({"generate", "--template", form, "--output", "o.docx"}, twoRecipients);
        QCOMPARE(result.exitCode, 1);
        QVERIFY(result.messages.endsWith("brakuje adresatów: 2\n"));
    }

    void choosesTheNameAfterReading() {
        QProcess slow;
        start(slow, {"generate"});
        QVERIFY(slow.waitForStarted());
        const QString first = run({"generate"}, twoRecipients).output;
        slow.write(twoRecipients);
        slow.closeWriteChannel();
        QVERIFY(slow.waitForFinished());
        QVERIFY(QFile::exists(first.trimmed()));
        QCOMPARE(QString::fromUtf8(slow.readAllStandardOutput()),
                 QString(first).replace(".docx", "_1.docx"));
    }

    void failsWithAMessage() {
        const std::pair<QStringList, QString> cases[] = {
            {{"only-skipped.txt"}, "Brak adresatów"},
            {{"missing.txt"}, "Nie można odczytać adresów: missing.txt: "},
            {{"."}, ".: "},
            {{"/dev/zero"}, "/dev/zero: plik jest większy"},
            {{"a.txt", "-o", "missing"}, "Folder zapisu nie istnieje: missing"},
            {{"a.txt", "-o", "a.txt"}, "Folder zapisu nie istnieje: a.txt"},
            {{"a.txt", "--output", "missing/o.docx"}, "Folder zapisu nie istnieje: missing"},
            {{"a.txt", "--template", "missing.dotx"}, "Nie znaleziono szablonu: missing.dotx"},
            {{"a.txt", "--template", "/dev/stdin"}, "/dev/stdin: to nie jest plik"},
            {{"a.txt", "--template", "a.txt"}, "Nie udało się utworzyć dokumentu: a.txt: "}};
        write("a.txt", twoRecipients);
        write("only-skipped.txt", "A\n\nB\n");
        const QStringList before = workFiles();
        for (const auto& [arguments, message] : cases) {
            const CommandResult result = run(QStringList("generate") + arguments);
            QVERIFY2(result.messages.contains(message), qPrintable(result.messages));
            QCOMPARE(result.exitCode, 1);
            QCOMPARE(result.output, QString());
            QCOMPARE(workFiles(), before);
        }
    }

    /// The limit breaks off a write within a piece, as a full disk does: of a part of the template,
    /// then of the document.
    void saysWhyTheDiskTakesNoMore() {
        write("many.txt", QByteArray("Jan\nul. 1\n00-000 X\n\n").repeated(200));
        write("o.docx", "old");
        for (const char* blocks : {"3", "401"}) {
            const CommandResult result = runCommand(
                "/bin/sh",
                {"-c", "trap '' XFSZ; ulimit -f $1; exec \"$0\" generate many.txt --output o.docx",
                 KOPERTAL_PROGRAM, blocks},
                {}, environment(), m_scratch->filePath("work"));
            QVERIFY2(result.messages.endsWith(": File too large\n"), qPrintable(result.messages));
            QVERIFY(result.messages.contains(m_scratch->filePath("tmp/")));
            QCOMPARE(result.exitCode, 1);
            QCOMPARE(contentsOf(m_scratch->filePath("work/o.docx")), QByteArray("old"));
        }
    }

    void refusesWrongUsage() {
        write("a.txt", twoRecipients);
        QVERIFY(QDir(m_scratch->path()).mkpath("work/folder/below"));
        for (const QString words : // a blank at the end: an empty argument
             {"generuj", "generate ", "generate --colour", "generate a.txt -o",
              "generate --json=yes", "generate a.txt a.txt", "generate a.txt -o . --output x.docx",
              "generate a.txt --output ", "generate a.txt --output folder",
              "generate a.txt --output new/", "generate a.txt --output ./a.txt",
              "generate a.txt --output /dev/null",
              "generate a.txt --template a.txt --output folder/../a.txt"}) {
            const CommandResult result = run(words.split(u' '));
            QVERIFY2(result.exitCode == 2, qPrintable(words));
            QVERIFY(QFileInfo(m_scratch->filePath("work/a.txt")).size() == twoRecipients.size());
            QVERIFY(result.messages.contains("--help"));
            QCOMPARE(workFiles(), QStringList({"a.txt", "folder"}));
            QVERIFY(QFile::exists(m_scratch->filePath("work/folder/below")));
        }
    }

    void aSignalLeavesNothing() {
        write("many.txt",
              QByteArray("Jan Kowalski\nul. Testowa 1/2\n00-000 Testowo\n\n").repeated(20'000));
        QProcess process;
        start(process, {"generate", "many.txt", "--output", "o.docx"});
        const QDir tmp(m_scratch->filePath("tmp"));
        QTRY_VERIFY_WITH_TIMEOUT(!tmp.isEmpty(), 30'000); // the work has begun
        kill(static_cast<pid_t>(process.processId()), SIGTERM);
        QVERIFY(process.waitForFinished(60'000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 1);
        QCOMPARE(process.readAllStandardError(), "Przerwano.\n");
        QCOMPARE(workFiles(), QStringList("many.txt"));
    }
};

QTEST_GUILESS_MAIN(GenerateCommandTest)
#include "GenerateCommandTest.moc"
