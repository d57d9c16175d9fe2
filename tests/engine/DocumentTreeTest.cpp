#include "engine/EngineError.h"
#include "engine/PageDuplication.h"
#include "engine/TemplateLayout.h"
#include "engine/XmlTree.h"
#include "tests/support/Xml.h"

#include <QTemporaryFile>
#include <QTest>

using namespace kopertal;
using kopertal::test::rawXml;

namespace {

/// A shape named `id`; the empty texts leave out what they stand for.
QByteArray shape(const QByteArray& id, const QByteArray& x, const QByteArray& y = "0",
                 const QByteArray& cy = "1", const QByteArray& text = {}) {
    return "<wps:wsp id='" + id + "'><wps:spPr><a:xfrm><a:off x='" + x + "' y='" + y +
           "'/><a:ext cy='" + cy + "'/></a:xfrm></wps:spPr><w:t>" + text + "</w:t></wps:wsp>";
}

QByteArray ids(const std::vector<pugi::xml_node>& shapes) {
    QByteArrayList result;
    for (const pugi::xml_node& found : shapes)
        result += found.attribute("id").value();
    return result.join(' ');
}

} // namespace

/// Parsing, searching and repeating the tree of a main document.
class DocumentTreeTest : public QObject {
    Q_OBJECT

private:
    /// The root of a new document; the former one is gone.
    pugi::xml_node parse(const QByteArray& xml) {
        m_document.reset();
        parseXml(xml, "test.xml", m_document);
        return m_document.document_element();
    }

    pugi::xml_document m_document;

private Q_SLOTS:
    void keepsWhatADocumentHolds_data() {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<QByteArray>("kept");
        const QByteArray declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

        const auto row = [&](const char* name, const QByteArray& xml, const QByteArray& kept) {
            QTest::newRow(name) << xml << declaration + kept;
        };
        row("prefixes, attribute order, blanks in a text",
            "<w:a xmlns:w='u' w:z='1' b='2'><w:t xml:space='preserve'>  </w:t></w:a>",
            "<w:a xmlns:w=\"u\" w:z=\"1\" b=\"2\"><w:t xml:space=\"preserve\">  </w:t></w:a>");
        row("indentation goes", "<a>\n  <b/>\n</a>", "<a><b/></a>");
        row("comments and instructions stay", "<?p q?><!--c--><a><!--d--></a>",
            "<?p q?><!--c--><a><!--d--></a>");
        row("escapes", "<a b='&quot;&lt;&#10;'>&amp;&lt;&#x17c;</a>",
            "<a b=\"&quot;&lt;&#10;\">&amp;&lt;\u017c</a>");
        row("internal entities are expanded", "<!DOCTYPE a [<!ENTITY f 'Firma'>]><a>&f;</a>",
            "<a>Firma</a>");
        row("UTF-16", QByteArray("\xff\xfe") + QByteArray("<\0a\0>\0|\1<\0/\0a\0>\0", 16),
            "<a>\u017c</a>");
    }

    void keepsWhatADocumentHolds() {
        QFETCH(QByteArray, xml);
        parse(xml);
        QTEST(rawXml(m_document), "kept");
    }

    void keepsTheDeclarationsStandalone() {
        parse("<?xml version='1.0' encoding='UTF-8' standalone='yes'?><a/>");
        QCOMPARE(m_document.first_child().attribute("standalone").value(), "yes");
    }

    void loadsNoExternalEntity() {
        QTemporaryFile secret;
        QVERIFY(secret.open());
        secret.write("SECRET");
        secret.close();
        const QByteArray url = "file://" + secret.fileName().toUtf8();
        parse("<!DOCTYPE a [<!ENTITY x SYSTEM '" + url + "'>]><a>b&x;c</a>");
        QCOMPARE(rawXml(m_document.document_element()), "<a>bc</a>");
    }

    void refusesWhatIsNotWellFormed_data() {
        QTest::addColumn<QByteArray>("xml");
        QTest::newRow("two roots") << QByteArray("<a/><b/>");
        QTest::newRow("equal attributes") << QByteArray("<a b='1' b='2'/>");
        QTest::newRow("bare ampersand") << QByteArray("<a>x & y</a>");
        QTest::newRow("control character") << QByteArray("<a>\x01</a>");
        QTest::newRow("cut off") << QByteArray("<a><b>");
        QTest::newRow("text before the root") << QByteArray("abc<a/>");
        QTest::newRow("undeclared entity") << QByteArray("<a>&nbsp;</a>");
        QTest::newRow("bad UTF-8")
            << QByteArray("<?xml version='1.0' encoding='UTF-8'?><a>\xff</a>");
        QTest::newRow("too deep") << QByteArray("<a>").repeated(maxXmlDepth + 1) +
                                         QByteArray("</a>").repeated(maxXmlDepth + 1);
        QByteArray attributes;
        for (int i = 0; i < 20'000; ++i)
            attributes += " a" + QByteArray::number(i) + "=''";
        QTest::newRow("too many attributes") << "<a" + attributes + "/>";
        QTest::newRow("one entity that is repeated")
            << "<!DOCTYPE a [<!ENTITY e '" + QByteArray(4000, 'x') + "'>]><a>" +
                   QByteArray("&e;").repeated(20'000) + "</a>";
        QTest::newRow("too large") << QByteArray(maxXmlBytes + 1, ' ');
        QByteArray bomb = "<!DOCTYPE a [<!ENTITY e0 'lol'>";
        for (int i = 1; i < 30; ++i)
            bomb += "<!ENTITY e" + QByteArray::number(i) + " '" +
                    ("&e" + QByteArray::number(i - 1) + ";").repeated(10) + "'>";
        QTest::newRow("entities that explode") << bomb + "]><a>&e29;</a>";
    }

    void refusesWhatIsNotWellFormed() {
        QFETCH(QByteArray, xml);
        QVERIFY_THROWS_EXCEPTION(FileError, parse(xml));
    }

    void saysWhenTheRootIsMissing() {
        for (const char* xml : {"", "<?xml version='1.0'?>\n", "<!-- nothing -->"}) {
            try {
                parse(xml);
                QFAIL(xml);
            } catch (const EngineError& error) {
                QCOMPARE(error.what(), "Błąd parsowania XML: Brak root element");
                QCOMPARE(error.kind(), EngineError::Case::xmlParseError);
            }
        }
    }

    void joinsTheTextsBelow() {
        QCOMPARE(allText(parse("<p> <w:t> \u00a0a</w:t><r><w:t>b "
                               "</w:t></r><w:x>no</w:x><w:t><![CDATA[c]]>\t</w:t></p>")),
                 QString("ab c"));
    }

    void readsGeometryStrictly() {
        QHash<QByteArray, qint64> texts = {
            {"42", 42}, {"+42", 42}, {"-42", -42}, {"9223372036854775807", INT64_MAX}};
        for (const char* text : {"", " 42", "42 ", "+-42", "0x10", "4.5", "9223372036854775808"})
            texts.insert(text, 0);
        for (const auto& [text, value] : texts.asKeyValueRange()) {
            const pugi::xml_node root =
                parse("<r>" + shape("a", text, text, text) + "<wps:wsp/></r>");
            for (const auto reader : {shapeX, shapeY, shapeCY}) {
                QVERIFY2(reader(root.first_child()) == value, text);
                QCOMPARE(reader(root.last_child()), 0); // nothing on the path
            }
        }
    }

    void findsGridsOfTwentyShapes() {
        const auto group = [](int count, const QByteArray& prefix) {
            QByteArray xml = "<wpg:wgp><nested>";
            for (int i = 0; i < count; ++i) // bottom row first
                xml += shape(prefix + QByteArray::number(i), i % 2 ? "500000" : "499999",
                             QByteArray::number(10 - i / 2));
            return xml + "</nested></wpg:wgp>";
        };
        const pugi::xml_node root = parse("<r>" + group(19, "x") + group(20, "a") + group(21, "y") +
                                          group(20, "b") + "</r>");
        const std::vector<TextboxGrid> grids = findAllTextboxGrids(root);
        QCOMPARE(grids.size(), size_t(2));
        QCOMPARE(ids(grids[0].nameShapes), "a18 a16 a14 a12 a10 a8 a6 a4 a2 a0");
        QCOMPARE(ids(grids[0].addressShapes), "a19 a17 a15 a13 a11 a9 a7 a5 a3 a1");
        QCOMPARE(ids(grids[1].nameShapes), "b18 b16 b14 b12 b10 b8 b6 b4 b2 b0");
        QVERIFY(findAllTextboxGrids(parse("<r>" + shape("a", "0") + "</r>")).empty());
    }

    void keepsTheOrderOfShapesAtOneHeight() {
        QByteArray xml = "<wpg:wgp>";
        for (int i = 0; i < 20; ++i)
            xml += i < 18 ? shape(QByteArray::number(i), "0", "5") : "<wps:wsp id='none'/>";
        const std::vector<TextboxGrid> grids = findAllTextboxGrids(parse(xml + "</wpg:wgp>"));
        QCOMPARE(ids(grids.at(0).nameShapes),
                 "none none 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17");
        QVERIFY(grids.at(0).addressShapes.empty());
    }

    void pairsTheSendersShapes_data() {
        QTest::addColumn<QByteArray>("shapes");
        QTest::addColumn<QByteArray>("pairs"); // "name address", joined
        const QByteArray left = shape("left", "100", "0", "0", "t");
        const QByteArray right = shape("right", "3000000", "0", "0", "t");
        const QByteArray blank = shape("blank", "200", "0", "0", " \t\u00a0");
        QTest::newRow("none") << blank << QByteArray();
        QTest::newRow("one") << left << QByteArray();
        QTest::newRow("the right one is the name's")
            << left + blank + right << QByteArray("right left");
        QTest::newRow("whatever the order") << right + left << QByteArray("right left");
        QTest::newRow("equal x: the later")
            << left + shape("later", "100", "0", "0", "t") << QByteArray("later left");
        QTest::newRow("a third has no partner") << right + left + right << QByteArray("right left");
        QTest::newRow("four, one in a group")
            << left + right + "<wpg:wgp>" + right + "</wpg:wgp>" + left
            << QByteArray("right left right left");
    }

    void pairsTheSendersShapes() {
        QFETCH(QByteArray, shapes);
        std::vector<pugi::xml_node> found;
        for (const SenderShapePair& pair :
             findAllSenderShapePairs(parse("<r>" + shapes + "</r>"))) {
            found.push_back(pair.nameShape);
            found.push_back(pair.addressShape);
        }
        QTEST(ids(found), "pairs");
    }

    void findsTheFreeEmptyHighShapes() {
        const pugi::xml_node root =
            parse("<r>" + shape("high", "0", "0", "200000") + shape("low", "0", "0", "199999") +
                  shape("text", "0", "0", "200000", "t") + shape("blank", "0", "0", "200000", " ") +
                  "<wpg:wgp><g>" + shape("grouped", "0", "0", "200000") + "</g></wpg:wgp>" +
                  shape("last", "0", "0", "999999") + "</r>");
        QCOMPARE(ids(findAllPageNumberShapes(root)), "high blank last");
    }

    void repeatsThePage_data() {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("count");
        QTest::addColumn<QByteArray>("repeated");
        const auto row = [](const char* name, const char* body, int count, const char* repeated) {
            QTest::newRow(name) << QByteArray(body) << count << QByteArray(repeated);
        };
        const char* page = "<w:p n='1'/><w:tbl/><w:p n='2'/><w:sectPr/>";
        row("not", page, 1, page);
        row("not for 0", page, 0, page);
        row("thrice", page, 3,
            "<w:p n='1'/><w:tbl/><w:p n='2'/>"
            "<w:p n='1'><w:pPr><w:pageBreakBefore/></w:pPr></w:p><w:tbl/><w:p n='2'/>"
            "<w:p n='1'><w:pPr><w:pageBreakBefore/></w:pPr></w:p><w:tbl/><w:p n='2'/><w:sectPr/>");
        row("after the properties that stand", "<w:p><w:pPr><w:a/></w:pPr><w:r/></w:p>", 2,
            "<w:p><w:pPr><w:a/></w:pPr><w:r/></w:p>"
            "<w:p><w:pPr><w:a/><w:pageBreakBefore/></w:pPr><w:r/></w:p>");
        row("a second break beside the template's",
            "<w:p><w:pPr><w:pageBreakBefore/></w:pPr></w:p>", 2,
            "<w:p><w:pPr><w:pageBreakBefore/></w:pPr></w:p>"
            "<w:p><w:pPr><w:pageBreakBefore/><w:pageBreakBefore/></w:pPr></w:p>");
        row("properties come first in the paragraph", "<w:p>t<w:r/></w:p>", 2,
            "<w:p>t<w:r/></w:p><w:p><w:pPr><w:pageBreakBefore/></w:pPr>t<w:r/></w:p>");
        row("the table's paragraphs do not count", "<w:tbl><w:p/></w:tbl><w:p/>", 2,
            "<w:tbl><w:p/></w:tbl><w:p/>"
            "<w:tbl><w:p/></w:tbl><w:p><w:pPr><w:pageBreakBefore/></w:pPr></w:p>");
        row("no paragraph, no break", "<w:tbl/>", 2, "<w:tbl/><w:tbl/>");
        row("no page content", "<!--c--><w:sectPr/>", 3, "<!--c--><w:sectPr/>");
        row("only elements are copied; one section moves to the end",
            "<!--c--><w:sectPr i='1'/><w:p/>t<w:sectPr i='2'/>", 2,
            "<!--c--><w:p/>t<w:sectPr i='2'/>"
            "<w:p><w:pPr><w:pageBreakBefore/></w:pPr></w:p><w:sectPr i='1'/>");
    }

    void repeatsThePage() {
        QFETCH(QByteArray, body);
        QFETCH(int, count);
        QFETCH(QByteArray, repeated);
        const pugi::xml_node root = parse("<w:document><w:body>" + body + "</w:body></w:document>");
        duplicatePages(root, count);
        repeated.replace('\'', '"');
        QCOMPARE(rawXml(root), "<w:document><w:body>" + repeated + "</w:body></w:document>");
    }
};

QTEST_APPLESS_MAIN(DocumentTreeTest)
#include "DocumentTreeTest.moc"
