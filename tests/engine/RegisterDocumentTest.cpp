#include "engine/RegisterDocument.h"

#include "engine/EngineError.h"
#include "engine/OutputPath.h"
#include "engine/PageDuplication.h"
#include "engine/RegisterPages.h"
#include "engine/TemplateLayout.h"
#include "engine/XmlTree.h"
#include "tests/support/Archives.h"
#include "tests/support/Files.h"
#include "tests/support/Privileges.h"
#include "tests/support/Xml.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace kopertal;
using namespace kopertal::test;

namespace {

QList<ParsedAddress> recipients(int count) {
    QList<ParsedAddress> result;
    for (int i = 1; i <= count; ++i)
        result += {QUuid(), QString("Adresat %1").arg(i), {QString("ul. %1").arg(i), "00-000 X"}};
    return result;
}

QByteArray box(const QByteArray& content = {}) {
    return "<wps:txbx><w:txbxContent>" + content + "</w:txbxContent></wps:txbx>";
}

QByteArray shape(int x, int y, int height, const QByteArray& inside = box()) {
    return "<wps:wsp><wps:spPr><a:xfrm><a:off x='" + QByteArray::number(x) + "' y='" +
           QByteArray::number(y) + "'/><a:ext cy='" + QByteArray::number(height) +
           "'/></a:xfrm></wps:spPr>" + inside + "</wps:wsp>";
}

/// A group of twenty shapes: the ones of names, then those of addresses.
QByteArray grid(const QByteArray& inside = box(), int names = 10) {
    QByteArray xml = "<wpg:wgp>";
    for (int i = 0; i < 20; ++i)
        xml += shape(i < names ? 0 : 900'000, i, 1, inside);
    return xml + "</wpg:wgp>";
}

QByteArray documentOf(const QByteArray& content) {
    return "<w:document>" + content + "</w:document>";
}

/// Takes the boxes' content away; the rest without the white space between its parts.
QString emptied(pugi::xml_node root) {
    for (pugi::xml_node content : descendants(root, "w:txbxContent"))
        content.remove_children();
    static const QRegularExpression between("\\s+(?=<)|(?<=>)\\s+");
    return QString::fromUtf8(rawXml(root)).remove(between);
}

} // namespace

/// fillTemplate() from end to end.
class RegisterDocumentTest : public QObject {
    Q_OBJECT

private:
    /// Fills a template whose main document's root has that content.
    qsizetype fill(int count, const QByteArray& content) const {
        const QString path = m_scratch->filePath("t.dotx");
        if (!writeArchive(path, templateEntries(documentOf(content))))
            qFatal("no template");
        return fillTemplate(recipients(count), path, m_output, "Nadawca", "ul. Nadawcza 1");
    }

    void fillOwnTemplate(const QList<ParsedAddress>& addresses) const {
        fillTemplate(addresses, std::nullopt, m_output, {}, {});
    }

    /// After a failure: the work folder gone, the output as it was.
    void verifyNothingChanged() const {
        QCOMPARE(QFileInfo(m_output).dir().entryList(QDir::Files | QDir::Hidden),
                 QStringList("o.docx"));
        QCOMPARE(contentsOf(m_output), "old");
        QVERIFY(QDir(m_scratch->filePath("tmp")).isEmpty());
    }

    std::unique_ptr<QTemporaryDir> m_scratch;
    QString m_output;

private Q_SLOTS:
    void init() {
        m_scratch = std::make_unique<QTemporaryDir>();
        // An ordinary user, whose part a test plays, must get in.
        QFile::setPermissions(m_scratch->path(), QFile::Permissions(0x7755));
        for (const char* folder : {"tmp", "out"})
            QVERIFY(QDir(m_scratch->path()).mkdir(folder));
        QFile::setPermissions(m_scratch->filePath("tmp"), QFile::Permissions(0x7777));
        qputenv("TMPDIR", QFile::encodeName(m_scratch->filePath("tmp")));
        m_output = m_scratch->filePath("out/o.docx");
        writeFile(m_output, "old");
    }

    void cleanup() { qunsetenv("TMPDIR"); }

    /// Pages are made, filled and written in batches: the document is as if the page had been
    /// repeated at once, its fields are filled in their order.
    void repeatsAndFillsThePage() {
        const QByteArray text = box("<w:t>…</w:t>");
        const QByteArray fields =
            grid() + shape(9, 0, 1, text) + shape(0, 0, 1, text) + shape(0, 0, 300'000);
        const QByteArray page = "<w:p>" + fields + "</w:p><w:tbl/><w:p n='2'/><w:sectPr/>";
        QByteArrayList contents{"<w:body>" + page + "</w:body>",
                                "<w:body><w:sectPr i='1'/>" + page + "</w:body>",
                                "<w:body><w:p/><w:sectPr/></w:body><w:x>" + fields +
                                    "</w:x>", // not on the page
                                "<w:x>" + fields + "</w:x><w:body><w:p/></w:body>",
                                "<w:body><w:p/><w:sectPr>" + fields + "</w:sectPr></w:body>",
                                "<w:p>" + fields + "</w:p>",
                                "<w:body><w:tbl/></w:body>"};
        for (const char* beside : {"abc", "<![CDATA[abc]]>", "<!--abc-->", "<?abc d?>"})
            contents << "<w:body>" + (beside + page) + "</w:body>"
                     << "<w:body>" + (page + beside) + "</w:body>";
        for (const QByteArray& content : contents) {
            for (const int count : {2, 160, 161, 330}) {
                const qsizetype pages = pageCount(count);
                pugi::xml_document whole;
                parseXml(documentOf(content), "t", whole);
                duplicatePages(whole.document_element(), pages);
                const auto grids = qsizetype(findAllTextboxGrids(whole.document_element()).size());
                const qsizetype placed = std::min<qsizetype>(count, 10 * grids);
                QStringList texts;
                for (qsizetype grid = 0; grid < grids; ++grid) {
                    QStringList names, addresses;
                    for (qsizetype i = 10 * grid; i < std::min(placed, 10 * grid + 10); ++i) {
                        names << QString("Adresat %1").arg(i + 1);
                        addresses << QString("ul. %1").arg(i + 1) << "00-000 X";
                    }
                    texts << names << addresses << "Nadawca"
                          << "ul. Nadawcza 1"
                          << (pages == 1 ? "1" : QString("%1/%2").arg(grid + 1).arg(pages));
                }

                QCOMPARE(fill(count, content), placed);
                pugi::xml_document filled;
                parseXml(readArchive(m_output)["word/document.xml"].contents, "o", filled);
                QStringList written;
                for (const pugi::xml_node each : descendants(filled.document_element(), "w:t"))
                    written << each.text().get();
                QCOMPARE(written, texts);
                QCOMPARE(emptied(filled), emptied(whole));
            }
        }
    }

    void refusesFormsThatWouldLoseRecipients() {
        const QByteArray pair = shape(0, 0, 1, shape(900'000, 0, 1)); // with one box
        const QByteArray forms[] = {grid(box(), 11), // a row without a box for its address
                                    "<wpg:wgp>" + grid() +
                                        "</wpg:wgp>", // two grids of the same boxes
                                    "<wpg:wgp>" + pair.repeated(10) + "</wpg:wgp>",
                                    grid() + shape(0, 0, 300'000, box(shape(0, 0, 300'000)))};
        for (const QByteArray& form : forms) {
            QVERIFY_THROWS_EXCEPTION(EngineError,
                                     fill(25, "<w:body><w:p>" + form + "</w:p></w:body>"));
            verifyNothingChanged();
        }
    }

    void countsNobodyWithoutATextBox() {
        for (const char* boxless :
             {"", "<wps:txbx/>", "<wps:txbx><w:x><w:txbxContent/></w:x></wps:txbx>"}) {
            QByteArray oneWithout = grid();
            oneWithout.replace(oneWithout.lastIndexOf(box()), box().size(), boxless);
            for (const auto& [form, placed] : {std::pair{grid(boxless), 0}, {oneWithout, 22}})
                QCOMPARE(fill(24, "<w:body><w:p>" + form + "</w:p></w:body>"), placed);
        }
    }

    void refusesWhatCannotBeARegister() {
        const ParsedAddress endless{QUuid(), "A", QStringList(int(maxAddressLines) + 1, "x")};
        for (const auto& tooMuch : {recipients(int(maxRecipients) + 1), {endless}}) {
            QVERIFY_THROWS_EXCEPTION(FileError, fillOwnTemplate(tooMuch));
            verifyNothingChanged();
        }
    }

    void anUnwritableFolderLeavesTheOldFile() {
        const QString folder = QFileInfo(m_output).path();
        QFile::setPermissions(folder, QFile::Permissions(0x5555));
        {
            const OrdinaryUser user;
            QVERIFY_THROWS_EXCEPTION(FileError, fillOwnTemplate(recipients(1)));
        }
        verifyNothingChanged();
        QFile::setPermissions(folder, QFile::Permissions(0x7755));
    }

    void choosesFreeNames() {
        const QString folder = m_scratch->path() + "/a.b/";
        QVERIFY(QDir().mkpath(folder));
        for (const char* free : {"k_2025.docx", "k_2025_1.docx", "k_2025_2.docx"}) {
            QCOMPARE(uniqueURL(folder + "k_2025.docx"), folder + free);
            QVERIFY(QFile::link("gone", folder + free)); // what dangles is there, too
        }
    }
};

QTEST_APPLESS_MAIN(RegisterDocumentTest)
#include "RegisterDocumentTest.moc"
