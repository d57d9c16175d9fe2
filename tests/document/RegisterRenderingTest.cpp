#include "engine/AddressParsing.h"
#include "engine/RegisterDocument.h"
#include "tests/document/RenderedPages.h"
#include "tests/support/RunCommand.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace kopertal;
using namespace kopertal::test;

namespace {

const QString senderName = QStringLiteral("Zakład Usługowy „Jaźń”");
const QString senderAddress = QStringLiteral("ul. Świętojańska 7, 81-368 Gdynia");

// The form, in millimetres from the page's corner: resources/template/README.md.
constexpr QRectF senderCell(10, 23.9, 114.2, 40);
constexpr QRectF pageNumberBox(174, 14, 26, 7);
constexpr QRectF firstName(16.8, 84.9, 46.8, 15.5);
constexpr QRectF firstAddress(63.6, 84.9, 32.8, 15.5);

QString recipientsText(int count) {
    QString text;
    for (int number = 1; number <= count; ++number)
        text += QStringLiteral("Józef & syn %1\nul. „Słoneczna” <%1>\n00-000 Łódź\n\n").arg(number);
    return text;
}

/// Texts that are hard to hold in a cell.
const QString hardTexts = QStringLiteral(
    "Przedsiębiorstwo Wielobranżowe Produkcyjno-Handlowo-Usługowe „Wszystko dla domu "
    "i ogrodu” Krzysztof Brzęczyszczykiewicz i Wspólnicy Spółka komandytowa w "
    "likwidacji, Oddział terenowy w Chrząszczyżewoszycach, powiat łękołodzki\n"
    "ul. Gen. Władysława Sikorskiego 118A/204\nChrząszczyżewoszyce\n\n"
    "Pięć wierszy adresu\n"
    "Centrum Biurowe Wschód\nwejście B, piętro IV\nal. Zjednoczenia 36\n"
    "01-830 Warszawa\nPolska\n\n"
    "Konstantynopolitańczykowianeczka-Dźwiękonaśladowniczkiewiczówna\n"
    "0123456789012345678901234567890123456789012345678901234567890123456789\n"
    "00-001 Konstantynopolitańczykowo\n\n");

} // namespace

/// Registers as the word processor prints them, and before the validator that knows what Office
/// accepts. One start of the word processor, which takes seconds, prints the documents of all
/// tests.
class RegisterRenderingTest : public QObject {
    Q_OBJECT

private:
    QString document(const QString& name) const { return m_folder.filePath(name + ".docx"); }

    /// The numbers of the pages, the sender's text at the end of its cell, and in each row its
    /// recipient or nothing.
    void verifyPages(const QString& name, const QString& addresses, const QString& sender) const {
        const QList<PrintedPage> printed = printedPages(m_folder.filePath(name + ".pdf"));
        const QList<ParsedAddress> expected = parseAddresses(addresses);
        QCOMPARE(printed.size(), std::max<qsizetype>(1, (expected.size() + 9) / 10));
        qsizetype next = 0;
        for (const PrintedPage& page : printed) {
            QCOMPARE(textInside(page, pageNumberBox),
                     printed.size() == 1 ? "1"
                                         : QString("%1/%2").arg(next / 10 + 1).arg(printed.size()));
            const QString found = textInside(page, senderCell);
            QVERIFY2(found.endsWith(withoutSpaces(sender)), qPrintable(found));
            for (int row = 0; row < 10; ++row) {
                const ParsedAddress recipient = expected.value(next++);
                const double down = 15.5 * row;
                QCOMPARE(textInside(page, firstName.translated(0, down)),
                         withoutSpaces(recipient.name));
                QCOMPARE(textInside(page, firstAddress.translated(0, down)),
                         withoutSpaces(recipient.lines.join(u' ')));
            }
        }
    }

    const QMap<QString, QString> m_texts{
        {"25", recipientsText(25)}, {"165", recipientsText(165)}, {"hard", hardTexts}};
    QTemporaryDir m_folder;

private Q_SLOTS:
    void initTestCase() {
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_folder.filePath("config")));
        fillTemplate({}, std::nullopt, document("0"), " \t\u00a0\u0001\ufffe ", " ul. 1 ");
        QStringList documents{document("0")};
        for (auto text = m_texts.begin(); text != m_texts.end(); ++text) {
            documents += document(text.key());
            const CommandResult result =
                runCommand(KOPERTAL_PROGRAM,
                           {"generate", "--output", documents.last(), "--sender-name", senderName,
                            "--sender-address", senderAddress},
                           text->toUtf8());
            QVERIFY2(result.exitCode == 0, qPrintable(result.messages));
        }
        QVERIFY2(printDocuments(documents, m_folder.path()),
                 "soffice must print (package libreoffice-writer-nogui)");
    }

    void everyPageHasItsNumberSenderAndRecipients() {
        for (auto text = m_texts.begin(); text != m_texts.end(); ++text)
            verifyPages(text.key(), *text, senderName + senderAddress);
        // Without a name the template's dots stay.
        verifyPages("0", {}, QString(20, u'…') + "ul. 1");
    }

    void officeAcceptsThem() {
        const QString folder = QStringLiteral(KOPERTAL_SOURCE_DIR "/tests/document");
        const QString version = runCommand("node", {"--print", "process.versions.node"}).output;
        if (version.section(u'.', 0, 0).toInt() < 20 ||
            !QFileInfo::exists(folder + "/node_modules/@ooxml-tools/validate"))
            QSKIP("The validator needs node 20, and npm ci in tests/document.");
        const CommandResult result =
            runCommand("node", {folder + "/validate.mjs", document("hard"), document("25")});
        QVERIFY2(result.exitCode == 0, qPrintable(result.messages));
        // One for each of the page's five drawings, from Office2010: the validator has looked.
        static const QRegularExpression repeatedIds(QRegularExpression::anchoredPattern(
            "([^ ]*/25.docx Office2010 Sem_UniqueAttributeValue "
            "[^ ]*/wp:docPr\\[1\\] [^\n]*\n){5}"));
        QVERIFY2(repeatedIds.match(result.output).hasMatch(), qPrintable(result.output));
    }
};

QTEST_GUILESS_MAIN(RegisterRenderingTest)
#include "RegisterRenderingTest.moc"
