#include "engine/RegisterDocument.h"

#include "engine/EngineError.h"
#include "engine/OutputPath.h"
#include "engine/PageDuplication.h"
#include "engine/RegisterPages.h"
#include "engine/TemplateLayout.h"
#include "engine/XmlTree.h"
#include "tests/support/Archives.h"
#include "tests/support/Files.h"
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

/// A group of a name's and an address's box a row, the lowest row first.
QByteArray grid(const QByteArray& inside = box(), int rows = 10) {
    QByteArray xml = "<wpg:wgp>";
    for (int row = rows - 1; row >= 0; --row)
        xml += shape(499'999, row, 300'000, inside) + shape(500'000, row, 300'000, inside);
    return xml + "</wpg:wgp>";
}

QByteArray bodyOf(const QByteArray& content) {
    return "<w:body><w:p>" + content + "</w:p></w:body>";
}

QByteArray documentOf(const QByteArray& content) {
    return "<w:document>" + content + "</w:document>";
}

/// Takes the boxes' content away; the rest without white space.
QString emptied(pugi::xml_node root) {
    for (pugi::xml_node content : descendants(root, "w:txbxContent"))
        content.remove_children();
    return QString::fromUtf8(rawXml(root)).remove(QRegularExpression("\\s"));
}

} // namespace

/// fillTemplate() from end to end.
class RegisterDocumentTest : public QObject {
    Q_OBJECT

private:
    /// Fills a template whose main document's root has that content.
    qsizetype fill(const QList<ParsedAddress>& addresses, const QByteArray& content) const {
        const QString path = m_scratch.filePath("t.dotx");
        if (!writeArchive(path, templateEntries(documentOf(content))))
            qFatal("no template");
        return fillTemplate(addresses, path, m_output, "Nadawca", "ul. Nadawcza 1");
    }

    const QTemporaryDir m_scratch;
    const QString m_output = m_scratch.filePath("o.docx");

private Q_SLOTS:
    /// Pages are made, filled and written in batches: the document is as if the page had been
    /// repeated at once, its fields are filled in their order.
    void repeatsAndFillsThePage() {
        const QByteArray text = box("<w:t>…</w:t>");
        const QByteArray right = shape(9, 0, 300'000, text);
        const QByteArray left = shape(0, 0, 300'000, text);
        const QByteArray fields = grid(box(), 9) + grid() + grid(box(), 11) + right + left + left +
                                  right + shape(0, 0, 199'999) + shape(0, 0, 200'000);
        const QByteArray page = "<w:p>" + fields + "</w:p><w:tbl/><w:p n='2'/><w:sectPr/>";
        QByteArrayList contents{"<w:body><w:sectPr i='1'/>" + page + "</w:body>",
                                "<w:x>" + fields + "</w:x><w:body><w:p/></w:body>",
                                "<w:body><w:p/><w:sectPr>" + fields + "</w:sectPr></w:body>",
                                "<w:p>" + fields + "</w:p>"};
        for (const char* beside : {"", "abc", "<![CDATA[abc]]>", "<!--abc-->", "<?abc d?>"})
            contents << "<w:body>" + (beside + page + beside) + "</w:body>";
        for (const QByteArray& content : contents) {
            for (const int count : {2, 160, 161, 330}) {
                const qsizetype pages = pageCount(count);
                pugi::xml_document whole;
                parseXml(documentOf(content), "t", whole);
                duplicatePages(whole.document_element(), pages);
                const auto grids = qsizetype(findAllTextboxGrids(whole.document_element()).size());
                QStringList texts;
                for (qsizetype grid = 1; grid <= grids; ++grid) {
                    for (auto i = std::min<qsizetype>(count, 10 * grid); i > 10 * (grid - 1); --i)
                        texts << QString("Adresat %1").arg(i) << QString("ul. %1").arg(i)
                              << "00-000 X";
                    texts += QString("Nadawca|ul. Nadawcza 1|ul. Nadawcza 1|Nadawca").split(u'|');
                    texts += pages == 1 ? "1" : QString("%1/%2").arg(grid).arg(pages);
                }

                QCOMPARE(fill(recipients(count), content), std::min<qsizetype>(count, 10 * grids));
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
        for (const QByteArray& form :
             {grid().replace("'500000' y='3'", "'0' y='3'"), // a row without an address's box
              "<wpg:wgp>" + grid() + "</wpg:wgp>",           // two grids of the same boxes
              "<wpg:wgp>" + pair.repeated(10) + "</wpg:wgp>",
              grid() + shape(0, 0, 300'000, box(shape(0, 0, 300'000)))})
            QVERIFY_THROWS_EXCEPTION(EngineError, fill(recipients(25), bodyOf(form)));
    }

    void countsNobodyWithoutATextBox() {
        for (const char* boxless :
             {"", "<wps:txbx/>", "<wps:txbx><w:x><w:txbxContent/></w:x></wps:txbx>"}) {
            QByteArray oneWithout = grid();
            oneWithout.replace(oneWithout.indexOf(box()), box().size(), boxless); // the last row's
            QCOMPARE(fill(recipients(24), bodyOf(oneWithout)), 22);
            QCOMPARE(fill(recipients(24), bodyOf(grid(boxless))), 0);
        }
    }

    void refusesWhatCannotBeARegister() {
        const ParsedAddress endless{QUuid(), "A", QStringList(int(maxAddressLines) + 1, "x")};
        for (const auto& tooMuch : {recipients(int(maxRecipients) + 1), {endless}})
            QVERIFY_THROWS_EXCEPTION(FileError, fill(tooMuch, bodyOf(grid())));
    }

    void choosesFreeNames() {
        for (const char* free : {"k_2025.docx", "k_2025_1.docx", "k_2025_2.docx"}) {
            QCOMPARE(uniqueURL(m_scratch.filePath("k_2025.docx")), m_scratch.filePath(free));
            QVERIFY(QFile::link("gone", m_scratch.filePath(free))); // what dangles is there, too
        }
    }
};

QTEST_APPLESS_MAIN(RegisterDocumentTest)
#include "RegisterDocumentTest.moc"
