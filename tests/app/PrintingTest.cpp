#include "app/printing/PrintError.h"
#include "app/printing/Printers.h"
#include "app/printing/RegisterPieces.h"
#include "app/printing/RegisterPrinting.h"
#include "app/printing/Rendering.h"
#include "engine/RegisterDocument.h"
#include "engine/ZipArchive.h"
#include "tests/app/StandInPrinter.h"
#include "tests/document/RenderedPages.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QSet>
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
        text += QString("Strona %1\nul. Długa 1\n\n").arg(page) +
                (page < pages ? QString("Żak\nul. Krótka 2\n\n").repeated(9) : QString());
    fillTemplate(parseAddresses(text), std::nullopt, path, "Nadawca", {});
}

/// Replaces a text of the document, on all or on its second page, as another program might.
void change(const QString& document, const QByteArray& old, const QByteArray& other,
            bool isEverywhere = false, const QString& part = "word/document.xml") {
    const WorkFolder folder;
    unzipItem(document, folder.path());
    QByteArray contents = contentsOf(folder.filePath(part));
    const qsizetype secondPage = std::max<qsizetype>(contents.indexOf("<w:pageBreakBefore"), 0);
    const qsizetype place = contents.indexOf(old, secondPage);
    QVERIFY2(place >= 0, old);
    const QByteArray changed =
        isEverywhere ? contents.replace(old, other) : contents.replace(place, old.size(), other);
    writeFile(folder.filePath(part), changed);
    zipItem(folder.path(), document, {});
}

/// The page numbers of what was printed, as they stand on the paper, each with its recipient's.
QStringList printedNumbers(const QString& pdf) {
    QStringList numbers;
    for (const PrintedPage& page : printedPages(pdf)) {
        QStringList words;
        for (const PrintedWord& word : page)
            words += word.text;
        const QString recipient = words.value(words.lastIndexOf("Strona") + 1);
        numbers += textInside(page, pageNumberBox) + u' ' + recipient;
    }
    return numbers;
}

/// The folders in /proc of processes whose command names the folder.
QStringList processesIn(const QString& folder) {
    QStringList processes;
    for (QDirIterator each("/proc", QDir::Dirs); each.hasNext();) {
        if (contentsOf(each.next() + "/cmdline").contains(folder.toUtf8()))
            processes += each.filePath();
    }
    return processes;
}

/// Of each LibreOffice that was ended and could not remove it.
QSet<QString> deadSockets() {
    const QByteArray inUse = contentsOf("/proc/net/unix");
    QSet<QString> dead;
    for (const QString& name : QDir("/tmp").entryList({"OSL_PIPE_*"}, QDir::System)) {
        if (!inUse.contains(name.toUtf8()))
            dead += name;
    }
    return dead;
}

} // namespace

/// From a finished document to what CUPS gets, through the real word processor.
class PrintingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_cups = std::make_unique<StandInPrinter>(); }

    void cleanup() {
        QCOMPARE(m_cups->leftBehind(), QStringList());
        QCOMPARE(processesIn(m_cups->temporary()), QStringList());
        m_cups.reset();
    }

    void pagesAreNamed() {
        const auto chosen = [](const QString& text) { // of 12
            const auto ranges = pageRanges(text);
            const bool fits = ranges && pageRangesRefusal(*ranges, 12).isEmpty();
            return fits ? chosenPages(*ranges, 12) : std::vector<int>();
        };
        QCOMPARE(chosen(" ").size(), 12U); // all
        const std::pair<QString, std::vector<int>> cases[] = {{"3", {2}},
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

    void printsPages() {
        QStringList all;
        for (int page = 1; page <= 23; ++page)
            all += QString("%1/23 %1").arg(page);
        const struct {
            QString name;
            QString printer;
            QString pages;
            int rendered; // pages of pieces that hold a chosen one
            QStringList numbers;
        } cases[] = {{"-t $HOME 'a' \"b\" „Żółć” `c`.docx", "-d Łódź/\"2\" 'x'", "", 23, all},
                     {"a.docx", "Biuro", "23, 13-14", 13, {"13/23 13", "14/23 14", "23/23 23"}}};
        for (const auto& [name, printer, pages, rendered, numbers] : cases) {
            const QString document = m_folder.filePath(name);
            makeRegister(document, 23);
            m_cups->setPrinters({"Inna", printer}, printer);
            const PrintSetup setup = m_work.lookUp(document, {});
            QCOMPARE(setup.printers, QStringList({"Inna", printer}));
            QCOMPARE(setup.preferredPrinter, printer);
            QCOMPARE(setup.pages, 23);

            QList<int> readies;
            const auto progress = [&readies, expected = rendered](int ready, int needed) {
                readies += ready;
                QCOMPARE(needed, expected);
            };
            const int job = m_cups->jobs() + 1;
            const PrintResult result = m_work.print(
                {document, printer, 3, pages.isEmpty(), *pageRanges(pages)}, progress, {});
            QCOMPARE(result.error, QString());
            QCOMPARE(result.pages, numbers.size());
            QVERIFY(std::ranges::is_sorted(readies));
            QCOMPARE(readies.last(), rendered);
            QCOMPARE(m_cups->jobs(), job);
            QCOMPARE(printedNumbers(m_cups->pdf(job)), numbers);
            QCOMPARE(m_cups->arguments(job),
                     QStringList({"-d", printer, "-n", "3", "-o",
                                  pages.isEmpty() ? "collate=true" : "collate=false", "-t", name,
                                  "--"}));
        }
    }

    void changedDocumentsAreNotCut() {
        const struct {
            QByteArray old;
            QByteArray other;
            bool isEverywhere = false;
            QString part = "word/document.xml";
        } cases[] = {
            {"<w:tbl>", "<w:p/><w:tbl>"},
            {"<w:tbl>", "<w:p/><w:tbl>", true},
            {"<w:sectPr>", "<w:p/><w:sectPr>"}, // on the last page
            {"<w:pageBreakBefore", "<w:pageBreakBefore w:val=\"0\""},
            {"<w:r>", "<w:r><w:br w:type=\"page\"/></w:r><w:r>"},
            {"Lp.", "Liczba porządkowa"},
            {"locked=\"0\"", "locked=\"1\""},
            {"<w:pgSz ", "<w:pgSz w:orient=\"landscape\" "},
            {"</w:txbxContent>", "<w:p><w:fldSimple w:instr=\"PAGE\"/></w:p></w:txbxContent>"},
            {"</w:txbxContent>", "<w:p><w:r><w:br w:type=\"page\"/></w:r></w:p></w:txbxContent>"},
            {"</w:body>", ""},
            {"</w:styles>", " </w:styles>", false, "word/styles.xml"}};
        for (const auto& [old, other, isEverywhere, part] : cases) {
            makeRegister(m_document, 3);
            change(m_document, old, other, isEverywhere, part);
            QVERIFY2(RegisterPieces(m_document).pages() == 0, other);
        }
    }

    void changedDocumentsPrintAsTheyAre() {
        makeRegister(m_document, 12);
        change(m_document, "<w:r>", "<w:r><w:br w:type=\"page\"/></w:r><w:r>");
        // A page has one number, whatever else is printed.
        const std::pair<QString, QStringList> cases[] = {
            {"3-4,12-", {"2/12 2", "3/12 3", "11/12 11", "12/12 12"}}, {"13", {"12/12 12"}}};
        for (const auto& [pages, numbers] : cases) {
            QCOMPARE(print(pages).error, QString());
            QCOMPARE(printedNumbers(m_cups->pdf(m_cups->jobs())), numbers);
        }
        QCOMPARE(print("14").error, pageRangesRefusal({{14, 14}}, 13));
    }

    void failuresAreTold() {
        const auto program = [this](const char* name, const char* commands) {
            return [=, this] { m_cups->addProgram(name, commands); };
        };
        const auto hideOtherPrograms = [this] {
            qputenv("PATH", QFile::encodeName(m_cups->programs()));
        };
        const std::pair<std::function<void()>, const char*> cases[] = {
            {program("lpstat", "echo lpstat: Bad file descriptor >&2; exit 1"),
             "(pakiet cups).\n\nSzczegóły: lpstat: Bad file descriptor"},
            {program("lp", "echo lp: Kolejka „Biuro” stoi >&2; exit 1"),
             "ustawieniach drukarek.\n\nSzczegóły: lp: Kolejka „Biuro” stoi"},
            {program("soffice", "echo ojej >&2; kill -SEGV $$"),
             "stwórz kopertal od nowa.\n\nSzczegóły: program przerwał pracę: ojej"},
            {program("soffice", "for file; do :; done; echo Warning: failed to launch javaldx >&2;"
                                "echo \"Error: <file://$file>\" >&2"),
             "Szczegóły: Error: <strony-0.docx>"},
            {program("soffice", "for file; do :; done; echo %PDF-1.7 >\"${file%.docx}.pdf\""),
             "jeszcze raz.\n\nSzczegóły: strony-0.pdf"},
            {[&] { QFile::remove(m_document); }, "Dokumentu już nie ma w folderze zapisu: "},
            {[] { qputenv("TMPDIR", "/proc/tmp"); },
             "W folderze plików tymczasowych /proc/tmp nie można zapisać"},
            {hideOtherPrograms, "Zainstaluj pakiet libreoffice-writer albo "
                                "libreoffice-writer-nogui."},
            {[&] {
                 hideOtherPrograms();
                 m_cups->addProgram("soffice", "exit 0");
                 QFile::remove(m_cups->programs() + "/lp");
             },
             "Zainstaluj pakiety cups i cups-client (brak programu „lp”)."}};
        for (const auto& [breakSomething, message] : cases) {
            m_cups.reset();
            init();
            makeRegister(m_document, 1);
            breakSomething();
            QString error = m_work.lookUp(m_document, {}).error;
            if (error.isEmpty())
                error = print().error;
            QVERIFY2(error.contains(message), qPrintable(error));
            QVERIFY2(!error.contains(m_cups->temporary()), qPrintable(error));
            QCOMPARE(m_cups->jobs(), 0);
            QCOMPARE(m_cups->leftBehind(), QStringList());
        }
    }

    void whatHangsIsEnded() {
        const std::chrono::milliseconds patience(200);
        const auto render = [&] {
            renderDocuments(
                {m_document}, m_folder.path(), [](int) {}, {}, patience);
        };
        const std::tuple<QString, QString, std::function<void()>> cases[] = {
            {"lpstat", "", [&] { findPrinters({}, patience); }},
            {"lpstat", "[ \"$1\" = -e ] && exec echo Biuro; ", [&] { findPrinters({}, patience); }},
            {"lp", "", [&] { sendToPrinter("a.pdf", "a", {}, {}, patience); }},
            {"soffice", "", render}};
        for (const auto& [program, before, ask] : cases) {
            m_cups->addProgram(program, before + "(/bin/sleep 600; :) & wait");
            QElapsedTimer clock;
            clock.start();
            QVERIFY_THROWS_EXCEPTION(PrintError, ask());
            QVERIFY(clock.elapsed() >= 200 && clock.elapsed() < 10'000);
            QCOMPARE(processesIn(m_cups->programs()), QStringList());
        }
    }

    /// Between the pieces of a long register.
    void stoppingLeavesNothing() {
        makeRegister(m_document, 30);
        const QSet<QString> before = deadSockets();
        std::stop_source stop;
        QElapsedTimer sinceStop;
        const auto stopInTheMidst = [&](int ready, int) {
            if (ready == 0 || stop.stop_requested())
                return;
            QVERIFY(contentsOf("/proc/net/unix").contains("/tmp/OSL_PIPE_"));
            stop.request_stop();
            sinceStop.start();
        };
        const PrintResult result =
            m_work.print({m_document, "Biuro", 1, true, {}}, stopInTheMidst, stop.get_token());
        QVERIFY2(sinceStop.elapsed() < 3000, qPrintable(QString::number(sinceStop.elapsed())));
        QVERIFY(result.isStopped);
        QCOMPARE(m_cups->jobs(), 0);
        QTRY_COMPARE(deadSockets() - before, QSet<QString>());
    }

private:
    PrintResult print(const QString& pages = {}) {
        return m_work.print({m_document, "Biuro", 1, true, *pageRanges(pages)}, [](int, int) {},
                            {});
    }

    RegisterPrinting m_work;
    std::unique_ptr<StandInPrinter> m_cups;
    QTemporaryDir m_folder;
    const QString m_document = m_folder.filePath("a.docx");
};

QTEST_GUILESS_MAIN(PrintingTest)
#include "PrintingTest.moc"
