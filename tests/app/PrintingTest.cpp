#include "app/printing/PrintError.h"
#include "app/printing/RegisterPieces.h"
#include "app/printing/RegisterPrinting.h"
#include "app/printing/Rendering.h"
#include "engine/EngineError.h"
#include "engine/RegisterDocument.h"
#include "tests/app/StandInPrinter.h"
#include "tests/document/RenderedPages.h"
#include "tests/support/Archives.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QTest>

#include <memory>

using namespace kopertal;
using namespace kopertal::test;

namespace {

constexpr QRectF pageNumberBox(174, 14, 26, 7); // the form's, in millimetres

/// A register of so many pages, each of one recipient who says which.
void makeRegister(const QString& path, int pages) {
    QString text;
    for (int page = 1; page <= pages; ++page)
        text += QStringLiteral("Strona %1\nul. Długa 1\n\n").arg(page) +
                (page < pages ? QStringLiteral("Żak\nul. Krótka 2\n\n").repeated(9) : QString());
    fillTemplate(parseAddresses(text), std::nullopt, path, QStringLiteral("Nadawca"), {});
}

/// Rewrites the main document as another program might.
void edit(const QString& path, const std::function<void(QByteArray&)>& change) {
    const auto parts = readArchive(path);
    QList<ArchiveEntry> entries;
    for (auto part = parts.begin(); part != parts.end(); ++part) {
        entries.append({part.key().toUtf8(), part->contents});
        if (part.key() == QStringLiteral("word/document.xml"))
            change(entries.last().contents);
    }
    QVERIFY(writeArchive(path, entries));
}

/// The page numbers of what was printed, as they stand on the paper, each with its recipient's.
QStringList printedNumbers(const QString& pdf) {
    QStringList numbers;
    for (const PrintedPage& page : printedPages(pdf)) {
        QString recipient;
        for (qsizetype word = 0; word + 1 < page.size(); ++word) {
            if (page[word].text == QStringLiteral("Strona"))
                recipient = page[word + 1].text;
        }
        numbers += textInside(page, pageNumberBox) + u' ' + recipient;
    }
    return numbers;
}

QStringList expectedNumbers(int pages, int first, int last) {
    QStringList numbers;
    for (int page = first; page <= last; ++page)
        numbers += QStringLiteral("%1/%2 %1").arg(page).arg(pages);
    return numbers;
}

/// Processes whose command names the folder.
int processesIn(const QString& folder) {
    int count = 0;
    for (QDirIterator each(QStringLiteral("/proc"), QDir::Dirs); each.hasNext();) {
        QFile command(each.next() + QStringLiteral("/cmdline"));
        count += command.open(QIODevice::ReadOnly) && command.readAll().contains(folder.toUtf8());
    }
    return count;
}

const auto quiet = [](int, int) {};

} // namespace

/// From a finished document to what CUPS gets, through the real word processor.
class PrintingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        m_cups = std::make_unique<StandInPrinter>();
    }

    void cleanup() {
        QCOMPARE(m_cups->leftBehind(), QStringList());
        QCOMPARE(processesIn(m_cups->temporary()), 0);
        m_cups.reset();
    }

    void pagesAreNamed_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("pages"); // of a document of 12; "-": no list
        const auto add = [](const char* text, const char* pages) {
            QTest::newRow(text) << QString::fromUtf8(text) << QString::fromUtf8(pages);
        };
        add("", "1 2 3 4 5 6 7 8 9 10 11 12 ");
        add("  ", "1 2 3 4 5 6 7 8 9 10 11 12 ");
        add("3", "3 ");
        add(" 7, 1-3 ,2–4", "1 2 3 4 7 ");
        add("11-", "11 12 ");
        add("11 - 12", "11 12 ");
        for (const char* refused : {"0", "3-1", "1,", ",", "-3", "a", "1 2", "1-2-3", "1;2",
                                    "9999999", "٣", "13", "11-13"})
            add(refused, "-");
    }

    void pagesAreNamed() {
        QFETCH(QString, text);
        const auto ranges = pageRanges(text);
        QString pages;
        if (!ranges || !pageRangesRefusal(*ranges, 12).isEmpty())
            pages = QStringLiteral("-");
        else
            for (const int page : chosenPages(*ranges, 12))
                pages += QString::number(page + 1) + u' ';
        QTEST(pages, "pages");
    }

    void documentsAreCut_data() {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("pages"); // 0: not to be cut
        const QByteArray first = "<w:p><w:r/></w:p><w:tbl/>";
        const auto next = [](const char* mark) {
            return QByteArray("<w:p><w:pPr>") + mark + "</w:pPr></w:p><w:tbl/>";
        };
        const QByteArray second = next("<w:pageBreakBefore/>");
        const QByteArray end = "<w:sectPr/>";
        QTest::newRow("one") << first + end << 1;
        QTest::newRow("three") << first + "<!-- <w:p> -->" + second + '\n' + second + end << 3;
        QTest::newRow("a mark that is off")
            << first + next("<w:pageBreakBefore w:val=\"0\"/>") + end << 1;
        QTest::newRow("pages differ") << first + second + "<w:p/>" + second + end << 0;
        QTest::newRow("the last page differs") << first + second + "<w:p/>" + end << 0;
        QTest::newRow("another section")
            << first + next("<w:pageBreakBefore/><w:sectPr/>") + end << 0;
        QTest::newRow("a field") << first + "<w:p><w:fldSimple w:instr=\"PAGE\"/></w:p>" + second +
                                        "<w:p/>" + end
                                 << 0;
        QTest::newRow("a footer") << first + second + "<w:sectPr><w:footerReference/></w:sectPr>"
                                  << 0;
        QTest::newRow("no section") << first + second << 0;
        QTest::newRow("empty") << end << 0;
        QTest::newRow("damaged") << QByteArray("<w:p>") << 0;
    }

    void documentsAreCut() {
        QFETCH(QByteArray, body);
        QFETCH(int, pages);
        const QByteArray document =
            "\xEF\xBB\xBF<w:document a='ą'><w:body>" + body + "</w:body></w:document>";
        const std::vector<qsizetype> bounds = pageBounds(document);
        QCOMPARE(static_cast<int>(bounds.size()), pages == 0 ? 0 : pages + 1);
        for (const qsizetype bound : bounds)
            QVERIFY(
                document.sliced(bound).startsWith(bound == bounds.back() ? "<w:sectPr" : "<w:p>"));
    }

    void printsPages_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("printer");
        QTest::addColumn<QString>("pages");
        QTest::addColumn<QStringList>("numbers");
        QTest::newRow("all") << "kopertal_20260312.docx"
                             << "Biuro"
                             << "" << expectedNumbers(23, 1, 23);
        QTest::newRow("some, names that are hard to hand over")
            << "-t $HOME 'a' \"b\" „Żółć” `c`.docx"
            << "-d Łódź/\"2\" 'x'"
            << "23, 9-11" << expectedNumbers(23, 9, 11) + expectedNumbers(23, 23, 23);
    }

    void printsPages() {
        QFETCH(QString, name);
        QFETCH(QString, printer);
        QFETCH(QString, pages);
        const QString document = m_folder->filePath(name);
        makeRegister(document, 23);
        m_cups->setPrinters({QStringLiteral("Inna"), printer}, printer);
        const PrintSetup setup = m_work.lookUp(document, {});
        QCOMPARE(setup.error, QString());
        QCOMPARE(setup.printers, QStringList({QStringLiteral("Inna"), printer}));
        QCOMPARE(setup.preferredPrinter, printer);
        QCOMPARE(setup.pages, 23);

        QList<int> readies;
        int asked = 0;
        const PrintResult result =
            m_work.print({document, printer, 3, pages.isEmpty(), *pageRanges(pages)},
                         [&](int ready, int needed) {
                             readies += ready;
                             asked = needed;
                         },
                         {});
        QCOMPARE(result.error, QString());
        QTEST(printedNumbers(m_cups->pdf(1)), "numbers");
        QCOMPARE(result.pages, pages.isEmpty() ? 23 : 4);
        QVERIFY(std::ranges::is_sorted(readies));
        QCOMPARE(asked, 23); // each of the three pieces holds a chosen page
        QCOMPARE(readies.last(), 23);
        QCOMPARE(m_cups->arguments(1),
                 QStringList({QStringLiteral("-d"), printer, QStringLiteral("-n"),
                              QStringLiteral("3"), QStringLiteral("-o"),
                              pages.isEmpty() ? QStringLiteral("collate=true")
                                              : QStringLiteral("collate=false"),
                              QStringLiteral("-t"), name, QStringLiteral("--")}));
        QCOMPARE(m_cups->jobs(), 1);
    }

    void onlyNeededPiecesAreRendered() {
        const QString document = m_folder->filePath(QStringLiteral("a.docx"));
        makeRegister(document, 23);
        int asked = 0;
        const PrintResult result =
            m_work.print({document, QStringLiteral("Biuro"), 1, true, {{12, 13}}},
                         [&](int, int needed) { asked = needed; }, {});
        QCOMPARE(result.error, QString());
        QCOMPARE(asked, 10);
        QCOMPARE(printedNumbers(m_cups->pdf(1)), expectedNumbers(23, 12, 13));
    }

    void changedDocumentsPrintAsTheyAre_data() {
        QTest::addColumn<QByteArray>("before"); // on the second page
        QTest::addColumn<QByteArray>("inserted");
        QTest::addColumn<int>("known");
        QTest::addColumn<QStringList>("numbers"); // of the pages 3, 4 and from 12 on
        QTest::newRow("it cannot be cut") << QByteArray("<w:tbl>") << QByteArray("<w:p/>") << 0
                                          << QStringList{"3/12 3", "4/12 4", "12/12 12"};
        QTest::newRow("pages have moved")
            << QByteArray("<w:r>") << QByteArray("<w:r><w:br w:type=\"page\"/></w:r>") << 12
            << QStringList{"2/12 2", "3/12 3", "11/12 11", "12/12 12"};
    }

    void changedDocumentsPrintAsTheyAre() {
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, inserted);
        const QString document = m_folder->filePath(QStringLiteral("a.docx"));
        makeRegister(document, 12);
        bool isEdited = false;
        edit(document, [&](QByteArray& main) {
            const qsizetype second = main.indexOf("<w:pageBreakBefore");
            const qsizetype place = main.indexOf(before, second);
            isEdited = second >= 0 && place >= 0;
            if (isEdited)
                main.insert(place, inserted);
        });
        QVERIFY(isEdited);
        const PrintSetup setup = m_work.lookUp(document, {});
        QTEST(setup.pages, "known");
        const PrintResult result = m_work.print(
            {document, QStringLiteral("Biuro"), 1, true, {{3, 4}, {12, lastPossiblePage}}}, quiet,
            {});
        QCOMPARE(result.error, QString());
        QTEST(printedNumbers(m_cups->pdf(1)), "numbers");
    }

    void failuresAreTold_data() {
        QTest::addColumn<QString>("obstacle");
        QTest::addColumn<QString>("message");
        const auto add = [](const char* obstacle, const char* message) {
            QTest::newRow(obstacle) << QString::fromUtf8(obstacle) << QString::fromUtf8(message);
        };
        add("no document", "Dokumentu już nie ma w folderze zapisu: ");
        add("no LibreOffice",
            "Zainstaluj pakiet libreoffice-writer albo libreoffice-writer-nogui.");
        add("no lp", "Zainstaluj pakiety cups i cups-client (brak programu „lp”).");
        add("no printers", "System nie ma żadnej drukarki. Dodaj ją w ustawieniach drukarek");
        add("no scheduler", "lpstat: Bad file descriptor");
        add("no such page", "Liczba jego stron: 1.");
        add("the printer refuses",
            "Drukarka „Biuro” nie przyjęła wydruku: lp: Kolejka „Biuro” stoi");
        add("a crash", "LibreOffice nie przygotował stron do druku: program przerwał pracę: ojej");
        add("no output", "LibreOffice nie przygotował stron do druku: Error: source file");
        add("a damaged output", "Nie można złożyć stron do druku: ");
    }

    void failuresAreTold() {
        QFETCH(QString, obstacle);
        QFETCH(QString, message);
        const QString document = m_folder->filePath(QStringLiteral("a.docx"));
        makeRegister(document, 1);
        const auto is = [&](const char* name) { return obstacle == QString::fromUtf8(name); };
        const auto soffice = [&](const char* commands) {
            m_cups->addProgram(QStringLiteral("soffice"), QString::fromUtf8(commands));
        };
        PrintOrder order{document, QStringLiteral("Biuro"), 1, true, {}};
        if (is("no document"))
            QVERIFY(QFile::remove(document));
        if (is("no LibreOffice") || is("no lp"))
            qputenv("PATH", QFile::encodeName(m_cups->programs()));
        if (is("no lp")) {
            soffice("exit 0");
            QVERIFY(QFile::remove(m_cups->programs() + QStringLiteral("/lp")));
        }
        if (is("no printers"))
            m_cups->addProgram(QStringLiteral("lpstat"), QStringLiteral("exit 0"));
        if (is("no scheduler"))
            m_cups->addProgram(QStringLiteral("lpstat"),
                               QStringLiteral("echo lpstat: Bad file descriptor >&2; exit 1"));
        if (is("no such page"))
            order.pages = {{2, 2}};
        if (is("the printer refuses"))
            m_cups->refuse("lp: Kolejka „Biuro” stoi\n");
        if (is("a crash"))
            soffice("echo ojej >&2; kill -SEGV $$");
        if (is("no output"))
            soffice("echo 'Error: source file could not be loaded' >&2");
        if (is("a damaged output"))
            soffice("for file; do :; done; echo %PDF-1.7 >\"${file%.docx}.pdf\"");
        QString error = m_work.lookUp(document, {}).error;
        if (error.isEmpty())
            error = m_work.print(order, quiet, {}).error;
        QVERIFY2(error.contains(message), qPrintable(error));
        QCOMPARE(m_cups->jobs(), 0);
    }

    void whatHangsIsEnded() {
        m_cups->addProgram(QStringLiteral("soffice"), QStringLiteral("/bin/sleep 600 & wait"));
        const QString document = m_folder->filePath(QStringLiteral("a.docx"));
        makeRegister(document, 1);
        const WorkFolder folder;
        QVERIFY_THROWS_EXCEPTION(PrintError, renderDocuments(
                                                 {document}, folder.path(), [](int) {}, {},
                                                 std::chrono::milliseconds(200)));
    }

    /// Between the pieces of a long register.
    void stoppingLeavesNothing() {
        const QString document = m_folder->filePath(QStringLiteral("a.docx"));
        makeRegister(document, 30);
        std::stop_source stop;
        int running = 0;
        QElapsedTimer sinceStop;
        const PrintResult result = m_work.print(
            {document, QStringLiteral("Biuro"), 1, true, {}},
            [&](int ready, int) {
                if (ready == 0 || stop.stop_requested())
                    return;
                running = processesIn(m_cups->temporary());
                stop.request_stop();
                sinceStop.start();
            },
            stop.get_token());
        QVERIFY(result.isStopped);
        QVERIFY(running > 0);
        QVERIFY2(sinceStop.elapsed() < 3000, qPrintable(QString::number(sinceStop.elapsed())));
        QCOMPARE(m_cups->jobs(), 0);
    }

private:
    RegisterPrinting m_work;
    std::unique_ptr<StandInPrinter> m_cups;
    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(PrintingTest)
#include "PrintingTest.moc"
