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

void makeRegister(const QString& path, qsizetype pages) {
    const QString addresses = QString("Żak\nul. Krótka 2\n\n").repeated(10 * pages);
    fillTemplate(parseAddresses(addresses), std::nullopt, path, "Nadawca", {});
}

/// Replaces a text of the document, from its second page on, as another program might.
void change(const QString& document, const QByteArray& old, const QByteArray& other,
            const QString& part = "word/document.xml") {
    const WorkFolder folder;
    unzipItem(document, folder.path());
    QByteArray contents = contentsOf(folder.filePath(part));
    const qsizetype secondPage = std::max<qsizetype>(contents.indexOf("<w:pageBreakBefore"), 0);
    const qsizetype place = contents.indexOf(old, secondPage);
    QVERIFY2(place >= 0, old);
    writeFile(folder.filePath(part), contents.replace(place, old.size(), other));
    zipItem(folder.path(), document, {});
}

/// Of the printed pages, as they stand on the paper; each page has its own in the document's text.
QStringList printedNumbers(const QString& pdf) {
    QStringList numbers;
    for (const PrintedPage& page : printedPages(pdf))
        numbers += textInside(page, pageNumberBox);
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
        QCOMPARE(chosen(" 7, 1-3 ,2–4"), std::vector<int>({0, 1, 2, 3, 6}));
        QCOMPARE(chosen("11-"), std::vector<int>({10, 11}));
        for (const char* refused : {"0", "3-1", "1,", "-3", "a", "1 2", "1-2-3", "9999999", "13",
                                    "13-", "11-13", "1-999999"})
            QVERIFY2(chosen(refused).empty(), refused);
    }

    void printsPages() {
        QStringList all;
        for (int page = 1; page <= 23; ++page)
            all += QString("%1/23").arg(page);
        const struct {
            QString name, printer, pages;
            int rendered; // pages of pieces that hold a chosen one
            QStringList numbers;
        } cases[] = {{"-t $HOME 'a' \"b\" „Żółć” `c`.docx", "-d Łódź/\"2\" 'x'", "", 23, all},
                     {"a.docx", "Biuro", "23, 13-14", 13, {"13/23", "14/23", "23/23"}}};
        for (const auto& [name, printer, pages, rendered, numbers] : cases) {
            const QString document = m_folder.filePath(name);
            makeRegister(document, 23);
            int ready = 0;
            const int job = m_cups->jobs() + 1;
            const PrintResult result =
                m_work.print({document, printer, 3, pages.isEmpty(), *pageRanges(pages)},
                             [&ready](int now, int) { ready = now; }, {});
            QCOMPARE(result.error, QString());
            QCOMPARE(result.pages, numbers.size());
            QCOMPARE(ready, rendered);
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
            QByteArray old, other;
            QString part = "word/document.xml";
        } cases[] = {
            {"<w:tbl>", "<w:p/><w:tbl>"},
            {"<w:sectPr>", "<w:p/><w:sectPr>"}, // on the last page
            {"<w:pageBreakBefore", "<w:pageBreakBefore w:val=\"0\""},
            {"<w:r>", "<w:r><w:br w:type=\"page\"/></w:r><w:r>"},
            {"<w:pgSz ", "<w:pgSz w:orient=\"landscape\" "},
            {"</w:txbxContent>", "<w:p><w:fldSimple w:instr=\"PAGE\"/></w:p></w:txbxContent>"},
            {"</w:txbxContent>", "<w:p><w:r><w:br w:type=\"page\"/></w:r></w:p></w:txbxContent>"},
            {"</w:body>", ""},
            {"</w:styles>", " </w:styles>", "word/styles.xml"}};
        for (const auto& [old, other, part] : cases) {
            makeRegister(m_document, 3);
            change(m_document, old, other, part);
            QVERIFY2(RegisterPieces(m_document).pages() == 0, other);
        }
    }

    void changedDocumentsPrintAsTheyAre() {
        makeRegister(m_document, 12);
        change(m_document, "<w:r>", "<w:r><w:br w:type=\"page\"/></w:r><w:r>");
        QCOMPARE(print("3-4,12-").error, QString());
        QCOMPARE(printedNumbers(m_cups->pdf(1)),
                 QStringList({"2/12", "3/12", "11/12", "12/12"})); // sheets count, of which are 13
        QCOMPARE(print("14").error, pageRangesRefusal({{14, 14}}, 13));
    }

    void failuresAreTold() {
        makeRegister(m_document, 1);
        const std::tuple<const char*, const char*, const char*> cases[] = {
            {"lp", "echo lp: Kolejka „Biuro” stoi >&2; exit 1",
             "ustawieniach drukarek.\n\nSzczegóły: lp: Kolejka „Biuro” stoi"},
            {"soffice", "echo ojej >&2; kill -SEGV $$",
             "stwórz kopertal od nowa.\n\nSzczegóły: program przerwał pracę: ojej"},
            {"soffice", "for file; do :; done; echo \"Error: <file://$file>\" >&2", // and no more
             "Szczegóły: Error: <strony-0.docx>"},
            {"lpstat", "echo lpstat: Bad file descriptor >&2; exit 1",
             "(pakiet cups).\n\nSzczegóły: lpstat: Bad file descriptor"}};
        for (const auto& [program, commands, message] : cases) {
            m_cups->addProgram(program, commands);
            QString error = m_work.lookUp(m_document, {}).error;
            if (error.isEmpty())
                error = print().error;
            QVERIFY2(error.contains(message), qPrintable(error));
            QVERIFY2(!error.contains(m_cups->temporary()), qPrintable(error));
            QCOMPARE(m_cups->jobs(), 0);
            QCOMPARE(m_cups->leftBehind(), QStringList());
        }
        QFile::remove(m_cups->programs() + "/soffice");
        qputenv("PATH", QFile::encodeName(m_cups->programs()));
        QVERIFY(m_work.lookUp(m_document, {}).error.contains("pakiet libreoffice-writer albo"));
        QFile::remove(m_document);
        QVERIFY(print().error.startsWith("Dokumentu już nie ma w folderze zapisu: "));
    }

    void whatHangsIsEnded() {
        const std::chrono::milliseconds patience(200);
        const auto find = [&] { findPrinters({}, patience); };
        const auto send = [&] { sendToPrinter("a.pdf", "a", {}, {}, patience); };
        const auto render = [&] {
            renderDocuments(
                {m_document}, m_folder.path(), [](int) {}, {}, patience);
        };
        const std::tuple<QString, QString, std::function<void()>> cases[] = {
            {"lpstat", "", find},
            {"lpstat", "[ \"$1\" = -e ] && exec echo Biuro; ", find},
            {"lp", "", send},
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
