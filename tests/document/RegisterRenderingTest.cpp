#include "engine/AddressParsing.h"
#include "engine/RegisterDocument.h"
#include "tests/document/RenderedPages.h"

#include <QFile>
#include <QProcess>
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

QRectF nameCell(int row) {
    return {16.8, 84.9 + 15.5 * row, 46.8, 15.5};
}

QRectF addressCell(int row) {
    return {63.6, 84.9 + 15.5 * row, 32.8, 15.5};
}

QString recipientText(int number) {
    return QStringLiteral("Józef Gżegżółka %1\nul. Słoneczna %1 m. 2\n00-%2 Warszawa\n\n")
        .arg(number)
        .arg(number, 3, 10, QLatin1Char('0'));
}

QString recipientsText(int count) {
    QString text;
    for (int number = 1; number <= count; ++number)
        text += recipientText(number);
    return text;
}

/// Texts that are hard to hold in a cell, ten at most.
const QString hardTexts = QStringLiteral(
    "Ja\nA\n\n"
    "Przedsiębiorstwo Wielobranżowe Produkcyjno-Handlowo-Usługowe „Wszystko dla domu "
    "i ogrodu” Krzysztof Brzęczyszczykiewicz i Wspólnicy Spółka komandytowa w "
    "likwidacji, Oddział terenowy w Chrząszczyżewoszycach, powiat łękołodzki\n"
    "ul. Gen. Władysława Sikorskiego 118A/204\n"
    "Chrząszczyżewoszyce\n\n"
    "SAMODZIELNY PUBLICZNY WOJEWÓDZKI SZPITAL ZESPOLONY\n"
    "UL. ARKOŃSKA NR 4\n71-455 SZCZECIN\n\n"
    "Pięć wierszy adresu\n"
    "Centrum Biurowe Wschód\nwejście B, piętro IV\nal. Zjednoczenia 36\n"
    "01-830 Warszawa\nPolska\n\n"
    "Konstantynopolitańczykowianeczka-Dźwiękonaśladowniczkiewiczówna\n"
    "Konstantynopolitańczykowianeczkowska 12\n"
    "00-001 Konstantynopolitańczykowo\n\n"
    "https://poczta.example.pl/adresy/0123456789/0123456789/0123456789/0123456789\n"
    "0123456789012345678901234567890123456789012345678901234567890123456789\n"
    "00-001\n\n"
    "Łucja Ćwiąkała\n"
    "os. Bolesława Chrobrego 12/148, klatka III\nskr. poczt. 15\n"
    "60-681 Poznań\n\n"
    "Ministerstwo Rodziny, Pracy i Polityki Społecznej\n"
    "Departament Pomocy i Integracji Społecznej\n"
    "ul. Nowogrodzka 1/3/5\n00-513 Warszawa\n\n");

} // namespace

/// Registers as the word processor prints them. One start of it, which takes seconds, prints the
/// documents of all tests.
class RegisterRenderingTest : public QObject {
    Q_OBJECT

private:
    QString document(const QString& name) const {
        return m_folder.filePath(name + QStringLiteral(".docx"));
    }

    QList<PrintedPage> pages(const QString& name) const {
        return printedPages(m_folder.filePath(name + QStringLiteral(".pdf")));
    }

    /// Whether `kopertal generate` makes a document of that name from the addresses.
    bool generate(const QString& name, const QString& addresses) const {
        QProcess program;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_CONFIG_HOME", m_folder.filePath("config"));
        program.setProcessEnvironment(environment);
        program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        program.start(KOPERTAL_PROGRAM, {"generate", "--output", document(name), "--sender-name",
                                         senderName, "--sender-address", senderAddress});
        program.write(addresses.toUtf8());
        program.closeWriteChannel();
        return program.waitForFinished() && program.exitCode() == 0;
    }

    QTemporaryDir m_folder;

private Q_SLOTS:
    void initTestCase() {
        fillTemplate({}, std::nullopt, document("0"), {}, {});
        for (const int count : {1, 10, 11, 25, 200})
            QVERIFY(generate(QString::number(count), recipientsText(count)));
        QVERIFY(generate("hard", hardTexts));
        QStringList documents;
        for (const char* name : {"0", "1", "10", "11", "25", "200", "hard"})
            documents += document(name);
        QVERIFY2(printDocuments(documents, m_folder.path()),
                 "soffice must print (package libreoffice-writer-nogui)");
    }

    void withoutRecipientsPrintsOneEmptyForm() {
        const QList<PrintedPage> printed = pages("0");
        QCOMPARE(printed.size(), 1);
        QCOMPARE(textInside(printed[0], pageNumberBox), "1");
        QVERIFY(textInside(printed[0], senderCell).contains(QString(20, u'…')));
        for (int row = 0; row < 10; ++row)
            QCOMPARE(textInside(printed[0], nameCell(row) | addressCell(row)), "");
    }

    void everyPageHasItsNumberSenderAndRecipients() {
        for (const auto& [recipients, pageCount] :
             {std::pair(1, 1), {10, 1}, {11, 2}, {25, 3}, {200, 20}}) {
            const QList<PrintedPage> printed = pages(QString::number(recipients));
            QCOMPARE(printed.size(), pageCount);
            int number = 0;
            for (int page = 0; page < pageCount; ++page) {
                QCOMPARE(textInside(printed[page], pageNumberBox),
                         pageCount == 1 ? "1" : QString("%1/%2").arg(page + 1).arg(pageCount));
                const QString sender = textInside(printed[page], senderCell);
                QVERIFY2(sender.endsWith(withoutSpaces(senderName + senderAddress)),
                         qPrintable(sender));
                for (int row = 0; row < 10; ++row) {
                    const QString expected =
                        ++number <= recipients ? recipientText(number) : QString();
                    QCOMPARE(textInside(printed[page], nameCell(row)),
                             withoutSpaces(expected.section(u'\n', 0, 0)));
                    QCOMPARE(textInside(printed[page], addressCell(row)),
                             withoutSpaces(expected.section(u'\n', 1)));
                }
            }
        }
    }

    void hardTextsStayInsideTheirCells() {
        const QList<PrintedPage> printed = pages("hard");
        QCOMPARE(printed.size(), 1);
        int row = 0;
        for (const ParsedAddress& address : parseAddresses(hardTexts)) {
            QCOMPARE(textInside(printed[0], nameCell(row)), withoutSpaces(address.name));
            QCOMPARE(textInside(printed[0], addressCell(row++)),
                     withoutSpaces(address.lines.join(u' ')));
        }
    }
};

QTEST_GUILESS_MAIN(RegisterRenderingTest)
#include "RegisterRenderingTest.moc"
