#include "app/printing/PrintError.h"
#include "app/printing/Printers.h"
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
#include <QProcess>
#include <QTest>

#include <memory>
#include <sys/stat.h>

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

/// Opens the document in LibreOffice and saves it in its place.
void saveByWordProcessor(const QString& path) {
    const WorkFolder folder;
    QProcess process;
    process.start(findWordProcessor(),
                  {QStringLiteral("-env:UserInstallation=file://") + folder.path(),
                   QStringLiteral("--headless"), QStringLiteral("--convert-to"),
                   QStringLiteral("docx"), QStringLiteral("--outdir"), folder.path(), path});
    QVERIFY(process.waitForFinished(120000));
    QVERIFY(QFile::remove(path));
    QVERIFY(QFile::copy(folder.filePath(QFileInfo(path).fileName()), path));
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

/// The folders in /proc of processes whose command names the folder.
QStringList processesIn(const QString& folder) {
    QStringList processes;
    for (QDirIterator each(QStringLiteral("/proc"), QDir::Dirs); each.hasNext();) {
        QFile command(each.next() + QStringLiteral("/cmdline"));
        if (command.open(QIODevice::ReadOnly) && command.readAll().contains(folder.toUtf8()))
            processes += each.filePath();
    }
    return processes;
}

/// The files at which these processes await others.
QStringList socketFiles(const QStringList& processes) {
    QFile table(QStringLiteral("/proc/net/unix"));
    QStringList files;
    if (!table.open(QIODevice::ReadOnly))
        return files;
    const QStringList sockets = QString::fromUtf8(table.readAll()).split(u'\n');
    for (const QString& process : processes) {
        for (QDirIterator each(process + QStringLiteral("/fd"), QDir::System); each.hasNext();) {
            const QString inode =
                QFile::symLinkTarget(each.next()).section(u'[', 1).section(u']', 0, 0);
            for (const QString& socket : sockets) {
                const QStringList fields = socket.simplified().split(u' ');
                if (fields.value(6) == inode && fields.value(7).startsWith(u'/'))
                    files += fields.value(7);
            }
        }
    }
    return files;
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
        QCOMPARE(processesIn(m_cups->temporary()), QStringList());
        m_cups.reset();
    }

    void pagesAreNamed() {
        const auto chosen = [](const QString& text) -> std::vector<int> { // of 12
            const auto ranges = pageRanges(text);
            return ranges && pageRangesRefusal(*ranges, 12).isEmpty() ? chosenPages(*ranges, 12)
                                                                      : std::vector<int>();
        };
        const std::vector<int> all{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
        const std::pair<QString, std::vector<int>> cases[] = {{"", all},
                                                              {"  ", all},
                                                              {"3", {2}},
                                                              {" 7, 1-3 ,2–4", {0, 1, 2, 3, 6}},
                                                              {"1-5,2-3", {0, 1, 2, 3, 4}},
                                                              {"11-", {10, 11}},
                                                              {"11 - 12", {10, 11}}};
        for (const auto& [text, pages] : cases)
            QCOMPARE(chosen(text), pages);
        for (const char* refused : {"0", "3-1", "1,", ",", "-3", "a", "1 2", "1-2-3", "1;2",
                                    "9999999", "٣", "13", "11-13", "1-999999"})
            QVERIFY2(chosen(refused).empty(), refused);
    }

    void documentsAreCut_data() {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("pages"); // 0: not to be cut
        const auto page = [](const char* mark, const char* box = "<w:p><w:r><w:br/></w:r></w:p>") {
            return QByteArray("<w:p><w:pPr>") + mark + "</w:pPr><w:r><w:txbxContent>" + box +
                   "</w:txbxContent></w:r></w:p><w:tbl w=\"1\"><w:t>Lp.</w:t></w:tbl>";
        };
        const QByteArray first = page("");
        const QByteArray next = page("<w:pageBreakBefore/>", "<w:p/><w:p><w:t>Żak</w:t></w:p>");
        const QByteArray end = "<w:sectPr><w:pgSz w=\"2\"/></w:sectPr>";
        const auto add = [](const char* name, const QByteArray& body, int pages) {
            QTest::newRow(name) << body << pages;
        };
        add("one", first + end, 1);
        add("three", first + "<!-- <w:p> -->" + next + '\n' + next + end, 3);
        add("a mark that is off", first + page("<w:pageBreakBefore w:val=\"0\"/>") + end, 0);
        add("a mark on the first page", next + next + end, 0);
        add("one page with another paragraph", first + "<w:p/>" + end, 0);
        add("pages differ", first + next + "<w:p/>" + next + end, 0);
        add("the last page differs", first + next + "<w:p/>" + end, 0);
        add("pages are alike, but not the form's", first + "<w:p/>" + next + "<w:p/>" + end, 0);
        for (const char* change : {"</w:pPr><w:r><w:br w:type=\"page\"/></w:r>|</w:pPr>",
                                   "<w:t>Dłuższe|<w:t>", "w=\"3\"|w=\"1\"", "w=\"3\"|w=\"2\""}) {
            const QList<QByteArray> words = QByteArray(change).split('|');
            add(change, QByteArray(first + next + end).replace(words[1], words[0]), 0);
        }
        add("a field in a box", first + page("<w:pageBreakBefore/>", "<w:fldSimple/>") + end, 0);
        add("a page break in a box",
            first + page("<w:pageBreakBefore/>", "<w:p><w:r><w:br w:type=\"page\"/></w:r></w:p>") +
                end,
            0);
        add("no section", first + next, 0);
        add("empty", end, 0);
        add("damaged", "<w:p>", 0);
    }

    void documentsAreCut() {
        QFETCH(QByteArray, body);
        QFETCH(int, pages);
        const auto document = [](const QByteArray& content) {
            return "\xEF\xBB\xBF<w:document a='ą'><w:body>" + content + "</w:body></w:document>";
        };
        const QByteArray main = document(body);
        const std::vector<qsizetype> bounds = pageBounds(
            main, document("<w:p> <w:pPr/><w:r><w:txbxContent/></w:r></w:p><w:tbl w='1'>"
                           "<w:t>Lp.</w:t></w:tbl>\n<w:sectPr><w:pgSz w='2'/></w:sectPr>"));
        QCOMPARE(static_cast<int>(bounds.size()), pages == 0 ? 0 : pages + 1);
        for (const qsizetype bound : bounds)
            QVERIFY(main.sliced(bound).startsWith(bound == bounds.back() ? "<w:sectPr" : "<w:p>"));
    }

    void printsPages_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("printer");
        QTest::addColumn<QString>("pages");
        QTest::addColumn<int>("rendered"); // pages of pieces that hold a chosen one
        QTest::addColumn<QStringList>("numbers");
        QTest::newRow("all") << "kopertal_20260312.docx"
                             << "Biuro"
                             << "" << 23 << expectedNumbers(23, 1, 23);
        QTest::newRow("of one piece") << "a.docx"
                                      << "Biuro"
                                      << "13-14" << 10 << expectedNumbers(23, 13, 14);
        QTest::newRow("some, names that are hard to hand over")
            << "-t $HOME 'a' \"b\" „Żółć” `c`.docx"
            << "-d Łódź/\"2\" 'x'"
            << "23, 9-11" << 23 << expectedNumbers(23, 9, 11) + expectedNumbers(23, 23, 23);
    }

    void printsPages() {
        QFETCH(QString, name);
        QFETCH(QString, printer);
        QFETCH(QString, pages);
        QFETCH(int, rendered);
        QFETCH(QStringList, numbers);
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
        QCOMPARE(printedNumbers(m_cups->pdf(1)), numbers);
        QCOMPARE(result.pages, numbers.size());
        QVERIFY(std::ranges::is_sorted(readies));
        QCOMPARE(asked, rendered);
        QCOMPARE(readies.last(), rendered);
        QCOMPARE(m_cups->arguments(1),
                 QStringList({QStringLiteral("-d"), printer, QStringLiteral("-n"),
                              QStringLiteral("3"), QStringLiteral("-o"),
                              pages.isEmpty() ? QStringLiteral("collate=true")
                                              : QStringLiteral("collate=false"),
                              QStringLiteral("-t"), name, QStringLiteral("--")}));
        QCOMPARE(m_cups->jobs(), 1);
    }

    void changedDocumentsPrintAsTheyAre_data() {
        QTest::addColumn<QByteArray>("before"); // on the second page; empty: saved by LibreOffice
        QTest::addColumn<QByteArray>("inserted");
        QTest::addColumn<QString>("pages");
        QTest::addColumn<QStringList>("numbers"); // none: there are no such pages
        const QStringList asBefore{"3/12 3", "4/12 4", "12/12 12"};
        const QByteArray run("<w:r>");
        const QByteArray pageBreak("<w:r><w:br w:type=\"page\"/></w:r>");
        QTest::newRow("a paragraph more")
            << QByteArray("<w:tbl>") << QByteArray("<w:p/>") << "3-4,12-" << asBefore;
        QTest::newRow("saved by LibreOffice")
            << QByteArray() << QByteArray() << "3-4,12-" << asBefore;
        // A page has one number, whatever else is printed.
        QTest::newRow("pages have moved")
            << run << pageBreak << "3-4,12-"
            << QStringList{"2/12 2", "3/12 3", "11/12 11", "12/12 12"};
        QTest::newRow("only the last") << run << pageBreak << "13" << QStringList{"12/12 12"};
        QTest::newRow("beyond it") << run << pageBreak << "14" << QStringList();
    }

    void changedDocumentsPrintAsTheyAre() {
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, inserted);
        QFETCH(QString, pages);
        QFETCH(QStringList, numbers);
        const QString document = m_folder->filePath(QStringLiteral("a.docx"));
        makeRegister(document, 12);
        bool isEdited = before.isEmpty();
        if (isEdited)
            saveByWordProcessor(document);
        else
            edit(document, [&](QByteArray& main) {
                const qsizetype second = main.indexOf("<w:pageBreakBefore");
                const qsizetype place = main.indexOf(before, second);
                isEdited = second >= 0 && place >= 0;
                if (isEdited)
                    main.insert(place, inserted);
            });
        QVERIFY(isEdited);
        const PrintSetup setup = m_work.lookUp(document, {});
        QCOMPARE(setup.error, QString());
        QCOMPARE(setup.pages, 0);
        const PrintResult result = m_work.print(
            {document, QStringLiteral("Biuro"), 1, true, *pageRanges(pages)}, quiet, {});
        QCOMPARE(result.error, numbers.isEmpty() ? pageRangesRefusal({{14, 14}}, 13) : QString());
        if (!numbers.isEmpty())
            QCOMPARE(printedNumbers(m_cups->pdf(1)), numbers);
    }

    void failuresAreTold_data() {
        QTest::addColumn<QString>("program"); // of those commands in the place of the usual one
        QTest::addColumn<QString>("commands");
        QTest::addColumn<QString>("message");
        const auto add = [](const char* program, const char* commands, const char* message) {
            QTest::newRow(message) << QString::fromUtf8(program) << QString::fromUtf8(commands)
                                   << QString::fromUtf8(message);
        };
        add("lpstat", "exit 0", "System nie ma żadnej drukarki. Dodaj ją w ustawieniach drukarek");
        add("lpstat", "echo lpstat: Bad file descriptor >&2; exit 1",
            "lpstat: Bad file descriptor");
        add("lp", "echo lp: Kolejka „Biuro” stoi >&2; exit 1",
            "ustawieniach drukarek.\n\nSzczegóły: lp: Kolejka „Biuro” stoi");
        add("soffice", "echo ojej >&2; kill -SEGV $$",
            "stwórz kopertal od nowa.\n\nSzczegóły: program przerwał pracę: ojej");
        add("soffice",
            "for file; do :; done; echo Warning: failed to launch javaldx >&2;"
            "echo \"Error: <file://$file>\" >&2",
            "Szczegóły: Error: <strony-0.docx>");
        add("soffice", "for file; do :; done; echo %PDF-1.7 >\"${file%.docx}.pdf\"",
            "jeszcze raz.\n\nSzczegóły: strony-0.pdf");
        const char* const gone = "Dokumentu już nie ma w folderze zapisu: ";
        add("no document", "", gone);
        add("a pipe", "", gone);
        add("no temporary folder", "",
            "W folderze plików tymczasowych /proc/tmp nie można zapisać");
        add("no LibreOffice", "",
            "Zainstaluj pakiet libreoffice-writer albo libreoffice-writer-nogui.");
        add("no lp", "", "Zainstaluj pakiety cups i cups-client (brak programu „lp”).");
        add("no such page", "", "Liczba jego stron: 1.");
    }

    void failuresAreTold() {
        QFETCH(QString, program);
        QFETCH(QString, commands);
        QFETCH(QString, message);
        const QString document = m_folder->filePath(QStringLiteral("a.docx"));
        makeRegister(document, 1);
        PrintOrder order{document, QStringLiteral("Biuro"), 1, true, {}};
        if (!commands.isEmpty())
            m_cups->addProgram(program, commands);
        if (program == "no document" || program == "a pipe")
            QVERIFY(QFile::remove(document));
        if (program == "a pipe")
            QCOMPARE(mkfifo(QFile::encodeName(document), 0600), 0);
        if (program == "no temporary folder")
            qputenv("TMPDIR", "/proc/tmp");
        if (program == "no LibreOffice" || program == "no lp")
            qputenv("PATH", QFile::encodeName(m_cups->programs()));
        if (program == "no lp") {
            m_cups->addProgram(QStringLiteral("soffice"), QStringLiteral("exit 0"));
            QVERIFY(QFile::remove(m_cups->programs() + QStringLiteral("/lp")));
        }
        if (program == "no such page")
            order.pages = {{2, 2}};
        QString error = m_work.lookUp(document, {}).error;
        if (error.isEmpty())
            error = m_work.print(order, quiet, {}).error;
        QVERIFY2(error.contains(message), qPrintable(error));
        QVERIFY2(!error.contains(m_cups->temporary()), qPrintable(error));
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

    void aPrintSystemThatHangsIsEnded() {
        QCOMPARE(lookUpPatience, std::chrono::seconds(20));
        QCOMPARE(sendingPatience, std::chrono::seconds(60));
        const std::chrono::milliseconds patience(200);
        const PrintOrder order{{}, QStringLiteral("Biuro"), 1, true, {}};
        const std::tuple<QString, QString, std::function<void()>> cases[] = {
            {"lpstat", "", [&] { findPrinters({}, patience); }},
            {"lpstat", "[ \"$1\" = -e ] && exec echo Biuro; ", [&] { findPrinters({}, patience); }},
            {"lp", "", [&] { sendToPrinter("a.pdf", "a", order, {}, patience); }}};
        for (const auto& [program, before, ask] : cases) {
            m_cups->addProgram(program, before + QStringLiteral("/bin/sleep 600 & wait"));
            QElapsedTimer clock;
            clock.start();
            QVERIFY_THROWS_EXCEPTION(PrintError, ask());
            QVERIFY(clock.elapsed() >= 200);
            QVERIFY(clock.elapsed() < 10'000);
            QCOMPARE(processesIn(m_cups->programs()), QStringList());
        }
    }

    /// Between the pieces of a long register.
    void stoppingLeavesNothing() {
        const QString document = m_folder->filePath(QStringLiteral("a.docx"));
        makeRegister(document, 30);
        std::stop_source stop;
        QStringList sockets;
        QElapsedTimer sinceStop;
        const PrintResult result = m_work.print(
            {document, QStringLiteral("Biuro"), 1, true, {}},
            [&](int ready, int) {
                if (ready == 0 || stop.stop_requested())
                    return;
                sockets = socketFiles(processesIn(m_cups->temporary()));
                stop.request_stop();
                sinceStop.start();
            },
            stop.get_token());
        QVERIFY(result.isStopped);
        QVERIFY(!sockets.isEmpty());
        for (const QString& socket : sockets)
            QVERIFY2(!QFile::exists(socket), qPrintable(socket));
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
