#include "engine/EngineError.h"
#include "engine/PageDuplication.h"
#include "engine/XmlTree.h"
#include "tests/support/Xml.h"

#include <QTest>

using namespace kopertal;
using kopertal::test::rawXml;

/// Parsing and repeating the tree of a main document.
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
            {"<w:a xmlns:w='u' w:z='1' b='2'>\n  <w:t xml:space='preserve'>  </w:t></w:a>",
             "<w:a xmlns:w=\"u\" w:z=\"1\" b=\"2\"><w:t xml:space=\"preserve\">  </w:t></w:a>"},
            {"<?p q?><!--c--><a b='&quot;&lt;&#10;'>&amp;&lt;&#x17c;</a>",
             "<?p q?><!--c--><a b=\"&quot;&lt;&#10;\">&amp;&lt;\u017c</a>"},
            {"<!DOCTYPE a [<!ENTITY f 'Firma'>]><a>&f;</a>", "<a>Firma</a>"},
            {QByteArray("\xff\xfe<\0a\0>\0|\1<\0/\0a\0>\0", 18), "<a>\u017c</a>"}}; // UTF-16
        for (const auto& [xml, kept] : cases) {
            parse(xml);
            QCOMPARE(rawXml(m_document), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>" + kept);
        }
    }

    void loadsNoExternalEntity() {
        parse("<!DOCTYPE a [<!ENTITY x SYSTEM 'file://" KOPERTAL_SOURCE_DIR
              "/README.md'>]><a>b&x;c</a>");
        QCOMPARE(rawXml(m_document.document_element()), "<a>bc</a>");
    }

    void refusesWhatIsNotWellFormed() {
        const auto nested = [](int depth) {
            return QByteArray("<a>").repeated(depth) + QByteArray("</a>").repeated(depth);
        };
        const auto wide = [](int count) {
            QByteArray attributes;
            for (int i = 0; i < count; ++i)
                attributes += " a" + QByteArray::number(i) + "=''";
            return "<a" + attributes + "/>";
        };
        const auto referring = [](int count) {
            return "<!DOCTYPE a [<!ENTITY e '" + QByteArray(4000, 'x') + "'>]><a>" +
                   QByteArray("&e;").repeated(count) + "</a>";
        };
        QByteArray bomb = "<!DOCTYPE a [<!ENTITY e0 'lol'>";
        for (int i = 1; i < 30; ++i)
            bomb += "<!ENTITY e" + QByteArray::number(i) + " '" +
                    ("&e" + QByteArray::number(i - 1) + ";").repeated(10) + "'>";
        for (const QByteArray& xml : {nested(maxXmlDepth), wide(1024), referring(4096)})
            QVERIFY(parse(xml));
        for (const QByteArray& xml :
             {nested(maxXmlDepth + 1), wide(1025), referring(4097), bomb + "]><a>&e29;</a>",
              QByteArray(maxXmlBytes + 1, ' '), QByteArray("<a/><b/>"),
              QByteArray("<a b='1' b='2'/>"), QByteArray("<a>x & y</a>"), QByteArray("<a><b>")})
            QVERIFY_THROWS_EXCEPTION(FileError, parse(xml));
        for (const char* rootless : {"", "<?xml version='1.0'?>\n", "<!-- nothing -->"})
            QVERIFY_THROWS_EXCEPTION(EngineError, parse(rootless));
    }

    void repeatsThePage() {
        const QByteArray turn = "<w:pPr><w:pageBreakBefore/></w:pPr>";
        const std::pair<QByteArray, QByteArray> cases[] = {
            {"<w:p>t</w:p><w:tbl/><w:p n='2'/><w:sectPr/>",
             "<w:p>t</w:p><w:tbl/><w:p n='2'/>"
             "<w:p>" +
                 turn + "t</w:p><w:tbl/><w:p n='2'/><w:sectPr/>"},
            {"<w:p><w:pPr><w:a/></w:pPr></w:p>", // after the properties that stand
             "<w:p><w:pPr><w:a/></w:pPr></w:p>"
             "<w:p><w:pPr><w:a/><w:pageBreakBefore/></w:pPr></w:p>"},
            // Only elements are copied; one section moves to the end.
            {"<!--c--><w:sectPr i='1'/><w:tbl><w:p/></w:tbl><w:p/>t<w:sectPr i='2'/>",
             "<!--c--><w:tbl><w:p/></w:tbl><w:p/>t<w:sectPr i='2'/>"
             "<w:tbl><w:p/></w:tbl><w:p>" +
                 turn + "</w:p><w:sectPr i='1'/>"}};
        for (auto [body, repeated] : cases) {
            const pugi::xml_node root = parse("<r><w:body>" + body + "</w:body></r>");
            duplicatePages(root, 2);
            QCOMPARE(rawXml(root), "<r><w:body>" + repeated.replace('\'', '"') + "</w:body></r>");
        }
    }
};

QTEST_APPLESS_MAIN(DocumentTreeTest)
#include "DocumentTreeTest.moc"
