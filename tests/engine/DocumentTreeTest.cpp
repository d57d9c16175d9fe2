#include "engine/EngineError.h"
#include "engine/PageBatches.h"
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
    void keepsWhatADocumentHolds() {
        const std::pair<QByteArray, QByteArray> cases[] = {
            {"<w:a xmlns:w='u' w:z='1' b='2'><w:t xml:space='preserve'>  </w:t></w:a>",
             "<w:a xmlns:w=\"u\" w:z=\"1\" b=\"2\"><w:t xml:space=\"preserve\">  </w:t></w:a>"},
            {"<a>\n  <b/>\n</a>", "<a><b/></a>"},
            {"<?p q?><!--c--><a><!--d--></a>", "<?p q?><!--c--><a><!--d--></a>"},
            {"<a b='&quot;&lt;&#10;'>&amp;&lt;&#x17c;</a>",
             "<a b=\"&quot;&lt;&#10;\">&amp;&lt;\u017c</a>"},
            {"<!DOCTYPE a [<!ENTITY f 'Firma'>]><a>&f;</a>", "<a>Firma</a>"},
            {QByteArray("\xff\xfe<\0a\0>\0|\1<\0/\0a\0>\0", 18), "<a>\u017c</a>"}}; // UTF-16
        for (const auto& [xml, kept] : cases) {
            parse(xml);
            QCOMPARE(rawXml(m_document), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>" + kept);
        }
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

    void refusesWhatIsNotWellFormed() {
        QByteArray attributes;
        for (int i = 0; i < 20'000; ++i)
            attributes += " a" + QByteArray::number(i) + "=''";
        QByteArray bomb = "<!DOCTYPE a [<!ENTITY e0 'lol'>";
        for (int i = 1; i < 30; ++i)
            bomb += "<!ENTITY e" + QByteArray::number(i) + " '" +
                    ("&e" + QByteArray::number(i - 1) + ";").repeated(10) + "'>";
        const QByteArray cases[] = {"<a/><b/>",
                                    "<a b='1' b='2'/>",
                                    "<a>x & y</a>",
                                    "<a>\x01</a>",
                                    "<a><b>",
                                    "abc<a/>",
                                    "<a>&nbsp;</a>",
                                    "<?xml version='1.0' encoding='UTF-8'?><a>\xff</a>",
                                    QByteArray("<a>").repeated(maxXmlDepth + 1) +
                                        QByteArray("</a>").repeated(maxXmlDepth + 1),
                                    "<a" + attributes + "/>",
                                    "<!DOCTYPE a [<!ENTITY e '" + QByteArray(4000, 'x') +
                                        "'>]><a>" + QByteArray("&e;").repeated(20'000) + "</a>",
                                    QByteArray(maxXmlBytes + 1, ' '),
                                    bomb + "]><a>&e29;</a>"};
        const auto isRefused = [&](const QByteArray& xml) {
            try {
                parse(xml);
                return false;
            } catch (const FileError&) {
                return true;
            }
        };
        for (const QByteArray& xml : cases)
            QVERIFY2(isRefused(xml), xml.left(60));
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

    void pairsTheSendersShapes() {
        const QByteArray left = shape("left", "100", "0", "0", "t");
        const QByteArray right = shape("right", "3000000", "0", "0", "t");
        const QByteArray later = shape("later", "100", "0", "0", "t");
        const QByteArray blank = shape("blank", "200", "0", "0", " \t\u00a0");
        const std::pair<QByteArray, QByteArray> cases[] = {
            // "name address", joined
            {blank, ""},
            {left, ""},
            {left + blank + right, "right left"},
            {right + left, "right left"},
            {left + later, "later left"},         // equal x
            {right + left + right, "right left"}, // a third has no partner
            {left + right + "<wpg:wgp>" + right + "</wpg:wgp>" + left, "right left right left"}};
        for (const auto& [shapes, pairs] : cases) {
            std::vector<pugi::xml_node> found;
            for (const SenderShapePair& pair :
                 findAllSenderShapePairs(parse("<r>" + shapes + "</r>"))) {
                found.push_back(pair.nameShape);
                found.push_back(pair.addressShape);
            }
            QCOMPARE(ids(found), pairs);
        }
    }

    void findsTheFreeEmptyHighShapes() {
        const pugi::xml_node root =
            parse("<r>" + shape("high", "0", "0", "200000") + shape("low", "0", "0", "199999") +
                  shape("text", "0", "0", "200000", "t") + shape("blank", "0", "0", "200000", " ") +
                  "<wpg:wgp><g>" + shape("grouped", "0", "0", "200000") + "</g></wpg:wgp>" +
                  shape("last", "0", "0", "999999") + "</r>");
        QCOMPARE(ids(findAllPageNumberShapes(root)), "high blank last");
    }

    void repeatsThePage() {
        const QByteArray page = "<w:p n='1'/><w:tbl/><w:p n='2'/><w:sectPr/>";
        const QByteArray turn = "<w:pPr><w:pageBreakBefore/></w:pPr>";
        const struct {
            QByteArray body;
            int count;
            QByteArray repeated;
        } cases[] = {
            {page, 1, page},
            {page, 0, page},
            {page, 3,
             "<w:p n='1'/><w:tbl/><w:p n='2'/><w:p n='1'>" + turn +
                 "</w:p><w:tbl/><w:p n='2'/>"
                 "<w:p n='1'>" +
                 turn + "</w:p><w:tbl/><w:p n='2'/><w:sectPr/>"},
            {"<w:p><w:pPr><w:a/></w:pPr><w:r/></w:p>", 2, // after the properties that stand
             "<w:p><w:pPr><w:a/></w:pPr><w:r/></w:p>"
             "<w:p><w:pPr><w:a/><w:pageBreakBefore/></w:pPr><w:r/></w:p>"},
            {"<w:p>" + turn + "</w:p>", 2, // a second break beside the template's
             "<w:p>" + turn +
                 "</w:p><w:p><w:pPr><w:pageBreakBefore/><w:pageBreakBefore/></w:pPr></w:p>"},
            {"<w:p>t<w:r/></w:p>", 2, "<w:p>t<w:r/></w:p><w:p>" + turn + "t<w:r/></w:p>"},
            {"<w:tbl><w:p/></w:tbl><w:p/>", 2,
             "<w:tbl><w:p/></w:tbl><w:p/><w:tbl><w:p/></w:tbl><w:p>" + turn + "</w:p>"},
            {"<w:tbl/>", 2, "<w:tbl/><w:tbl/>"},
            {"<!--c--><w:sectPr/>", 3, "<!--c--><w:sectPr/>"},
            // Only elements are copied; one section moves to the end.
            {"<!--c--><w:sectPr i='1'/><w:p/>t<w:sectPr i='2'/>", 2,
             "<!--c--><w:p/>t<w:sectPr i='2'/><w:p>" + turn + "</w:p><w:sectPr i='1'/>"}};
        for (auto [body, count, repeated] : cases) {
            const pugi::xml_node root =
                parse("<w:document><w:body>" + body + "</w:body></w:document>");
            duplicatePages(root, count);
            repeated.replace('\'', '"');
            QCOMPARE(rawXml(root), "<w:document><w:body>" + repeated + "</w:body></w:document>");
        }
    }

    void batchesAreTheWhole() {
        const QByteArray field = "<wps:wsp/>";
        const QByteArray inside[] = {
            "<w:body><w:p n='1'>" + field + "</w:p><w:tbl/><w:p n='2'/><w:sectPr/></w:body>",
            "<w:body><!--c--><w:sectPr i='1'/><w:p/>t<w:sectPr i='2'/>" + field + "</w:body>",
            "<w:body><w:p/><w:sectPr>" + field + "</w:sectPr></w:body>",
            "<w:x>" + field + "</w:x><w:body><w:p/></w:body>", // a field outside the page
            "<w:body><w:tbl/></w:body>",
            "<w:body/>"};
        for (const QByteArray& content : inside) {
            for (const int count : {1, 15, 16, 17, 32, 33, 100}) {
                pugi::xml_node root = parse("<w:document>" + content + "</w:document>");
                duplicatePages(root, count);
                const size_t fields = descendants(root, "wps:wsp").size();
                QByteArray whole;
                for (const pugi::xml_node& child : root.child("w:body").children())
                    whole += rawXml(child);

                root = parse("<w:document>" + content + "</w:document>");
                pugi::xml_node body = root.child("w:body");
                QByteArray written;
                size_t found = 0;
                PageBatches batches(root, count);
                for (;;) {
                    found += descendants(root, "wps:wsp").size();
                    for (const pugi::xml_node& child : body.children())
                        written += rawXml(child);
                    if (!batches.hasNext())
                        break;
                    body.remove_children();
                    batches.next();
                }
                QCOMPARE(written, whole);
                QCOMPARE(found, fields);
            }
        }
    }
};

QTEST_APPLESS_MAIN(DocumentTreeTest)
#include "DocumentTreeTest.moc"
