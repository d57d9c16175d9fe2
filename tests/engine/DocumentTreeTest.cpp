#include "engine/EngineError.h"
#include "engine/PageDuplication.h"
#include "engine/TemplateLayout.h"
#include "engine/XmlTree.h"
#include "tests/support/Xml.h"

#include <QTest>

using namespace kopertal;
using kopertal::test::rawXml;

namespace {

/// A shape named `id`.
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
            {"<?xml version='1.0' encoding='UTF-8' standalone='yes'?><a/>",
             "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?><a/>"},
            {QByteArray("\xff\xfe<\0a\0>\0|\1<\0/\0a\0>\0", 18), "<a>\u017c</a>"}}; // UTF-16
        for (const auto& [xml, kept] : cases) {
            parse(xml);
            const bool isDeclared = kept.startsWith("<?xml ");
            QCOMPARE(rawXml(m_document),
                     (isDeclared ? "" : "<?xml version=\"1.0\" encoding=\"UTF-8\"?>") + kept);
        }
    }

    void loadsNoExternalEntity() {
        parse("<!DOCTYPE a [<!ENTITY x SYSTEM 'file://" KOPERTAL_SOURCE_DIR
              "/README.md'>]><a>b&x;c</a>");
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
        for (const QByteArray& xml : cases)
            QVERIFY_THROWS_EXCEPTION(FileError, parse(xml));
        for (const char* rootless : {"", "<?xml version='1.0'?>\n", "<!-- nothing -->"})
            QVERIFY_THROWS_EXCEPTION(EngineError, parse(rootless));
    }

    void readsGeometryStrictly() {
        const std::pair<QByteArray, qint64> cases[] = {
            {"42", 42},  {"+42", 42}, {"-42", -42}, {"9223372036854775807", INT64_MAX},
            {"", 0},     {" 42", 0},  {"42 ", 0},   {"9223372036854775808", 0},
            {"+-42", 0}, {"0x10", 0}, {"4.5", 0}};
        for (const auto& [text, value] : cases)
            QCOMPARE(shapeX(parse(shape("a", text))), value);
    }

    void findsGridsOfTwentyShapes() {
        const auto group = [](int count, const QByteArray& prefix) {
            QByteArray xml = "<wpg:wgp><nested>";
            for (int i = 0; i < count; ++i) // bottom row first, each two at one height
                xml += shape(prefix + QByteArray::number(i), i % 2 ? "500000" : "499999",
                             QByteArray::number(10 - i / 4));
            return xml + "</nested></wpg:wgp>";
        };
        const std::vector<TextboxGrid> grids = findAllTextboxGrids(parse(
            "<r>" + group(19, "x") + group(20, "a") + group(21, "y") + group(20, "b") + "</r>"));
        QCOMPARE(grids.size(), size_t(2));
        QCOMPARE(ids(grids[0].nameShapes), "a16 a18 a12 a14 a8 a10 a4 a6 a0 a2");
        QCOMPARE(ids(grids[0].addressShapes), "a17 a19 a13 a15 a9 a11 a5 a7 a1 a3");
        QCOMPARE(ids(grids[1].nameShapes), "b16 b18 b12 b14 b8 b10 b4 b6 b0 b2");
    }

    void pairsTheSendersShapes() {
        const QByteArray left = shape("left", "100", "0", "0", "<![CDATA[t]]>");
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
        const QByteArray turn = "<w:pPr><w:pageBreakBefore/></w:pPr>";
        const std::pair<QByteArray, QByteArray> cases[] = {
            {"<w:p n='1'/><w:tbl/><w:p n='2'/><w:sectPr/>",
             "<w:p n='1'/><w:tbl/><w:p n='2'/>"
             "<w:p n='1'>" +
                 turn + "</w:p><w:tbl/><w:p n='2'/><w:sectPr/>"},
            {"<w:p><w:pPr><w:a/></w:pPr><w:r/></w:p>", // after the properties that stand
             "<w:p><w:pPr><w:a/></w:pPr><w:r/></w:p>"
             "<w:p><w:pPr><w:a/><w:pageBreakBefore/></w:pPr><w:r/></w:p>"},
            {"<w:p>t<w:r/></w:p>", "<w:p>t<w:r/></w:p><w:p>" + turn + "t<w:r/></w:p>"},
            {"<w:tbl><w:p/></w:tbl><w:p/>",
             "<w:tbl><w:p/></w:tbl><w:p/><w:tbl><w:p/></w:tbl><w:p>" + turn + "</w:p>"},
            {"<w:tbl/>", "<w:tbl/><w:tbl/>"},
            {"<!--c--><w:sectPr/>", "<!--c--><w:sectPr/>"},
            // Only elements are copied; one section moves to the end.
            {"<!--c--><w:sectPr i='1'/><w:p/>t<w:sectPr i='2'/>",
             "<!--c--><w:p/>t<w:sectPr i='2'/><w:p>" + turn + "</w:p><w:sectPr i='1'/>"}};
        for (auto [body, repeated] : cases) {
            const pugi::xml_node root =
                parse("<w:document><w:body>" + body + "</w:body></w:document>");
            duplicatePages(root, 2);
            repeated.replace('\'', '"');
            QCOMPARE(rawXml(root), "<w:document><w:body>" + repeated + "</w:body></w:document>");
        }
    }
};

QTEST_APPLESS_MAIN(DocumentTreeTest)
#include "DocumentTreeTest.moc"
