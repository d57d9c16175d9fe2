#include "engine/TextPlacement.h"

#include "engine/TextFitting.h"
#include "tests/support/Xml.h"

#include <QTest>

using namespace kopertal;

/// The fitting estimate and what is written into a box.
class TextPlacementTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void fitsNamesAndAddresses() {
        const struct {
            int lines, length;
            double width, size;
        } cases[] = {{1, 62, 39.0, 8.0},  {1, 63, 39.0, 7.5}, {1, 135, 39.0, 5.5},
                     {1, 136, 39.0, 5.0}, {3, 21, 26.4, 7.0}, {3, 25, 26.4, 6.5},
                     {5, 1, 26.4, 5.0},   {0, 0, 26.4, 8.0},  {3, 0, 26.4, 7.0}};
        for (const auto& [lines, length, width, size] : cases)
            QCOMPARE(fitFontSize(QStringList(lines, QString(length, u'ż')), width, 9.2), size);
        const QString family = QStringLiteral("👨‍👩‍👧‍👦"); // one character
        QCOMPARE(fitFontSize({(family + "e\u0301").repeated(31)}, 39.0, 9.2), 8.0);
    }

    void leavesOutWhatXmlCannotHold() {
        pugi::xml_document document;
        document.load_string("<wps:wsp><v><wps:txbx><w:txbxContent><w:p>old</w:p><w:tbl/>"
                             "</w:txbxContent></wps:txbx></v></wps:wsp>");
        const pugi::xml_node shape = document.document_element();
        const QString broken = QStringLiteral("a\u0001b\u001f\ufffe\uffff😀\tc\n\u0085") +
                               QChar(0xd800) + u'd' + QChar(0xdc00) + QChar(u'\0');
        setTextboxText(shape, {broken, " & <C> "}, 7.5);
        const QByteArray look = "<w:r><w:rPr>"
                                R"(<w:rFonts w:ascii="Arial" w:hAnsi="Arial" w:cs="Arial"/>)"
                                R"(<w:sz w:val="15"/><w:szCs w:val="15"/>)";
        const QByteArray text =
            look + R"(<w:lang w:val="pl-PL"/></w:rPr><w:t xml:space="preserve">)";
        QCOMPARE(test::rawXml(textBoxContent(shape)),
                 "<w:txbxContent><w:p><w:pPr>"
                 R"(<w:spacing w:after="0" w:line="240" w:lineRule="auto"/></w:pPr>)" +
                     text + "ab😀\tc\n\u0085d</w:t></w:r>" + look + "</w:rPr><w:br/></w:r>" + text +
                     " &amp; &lt;C&gt; </w:t></w:r></w:p></w:txbxContent>");
    }
};

QTEST_APPLESS_MAIN(TextPlacementTest)
#include "TextPlacementTest.moc"
