#include "engine/TextPlacement.h"

#include "engine/TextFitting.h"
#include "tests/support/Xml.h"

#include <QTest>

using namespace kopertal;
using kopertal::test::rawXml;

namespace {

const QByteArray fonts = "<w:rFonts w:ascii=\"Arial\" w:hAnsi=\"Arial\" w:cs=\"Arial\"/>";
const QByteArray paragraphStart =
    "<w:p><w:pPr><w:spacing w:after=\"0\" w:line=\"240\" w:lineRule=\"auto\"/></w:pPr>";

QByteArray sizes(const QByteArray& halfPoints) {
    return "<w:sz w:val=\"" + halfPoints + "\"/><w:szCs w:val=\"" + halfPoints + "\"/>";
}

QByteArray run(const QByteArray& halfPoints, const QByteArray& text,
               const QByteArray& weight = {}) {
    return "<w:r><w:rPr>" + fonts + weight + sizes(halfPoints) +
           "<w:lang w:val=\"pl-PL\"/></w:rPr><w:t xml:space=\"preserve\">" + text + "</w:t></w:r>";
}

QByteArray breakRun(const QByteArray& halfPoints) {
    return "<w:r><w:rPr>" + fonts + sizes(halfPoints) + "</w:rPr><w:br/></w:r>";
}

} // namespace

/// The fitting estimate and the runs that are written.
class TextPlacementTest : public QObject {
    Q_OBJECT

private:
    pugi::xml_node shapeWith(const char* xml) {
        m_document.load_string(xml);
        return m_document.document_element();
    }

    pugi::xml_node usualShape() {
        return shapeWith("<wps:wsp><v><wps:txbx><w:txbxContent><w:p><w:pPr><w:jc/></w:pPr>old</w:p>"
                         "<w:tbl/></w:txbxContent></wps:txbx></v></wps:wsp>");
    }

    QByteArray content() {
        return rawXml(
            m_document.first_element_by_path("wps:wsp/v/wps:txbx/w:txbxContent").first_child());
    }

    pugi::xml_document m_document;

private Q_SLOTS:
    void fitsNamesAndAddresses() {
        const std::pair<int, double> names[] = {{31, 8.0},  {62, 8.0},  {63, 7.5},  {66, 7.5},
                                                {67, 7.0},  {105, 7.0}, {106, 6.5}, {135, 5.5},
                                                {136, 5.0}, {5000, 5.0}};
        for (const auto& [length, size] : names)
            QVERIFY2(fitFontSize({QString(length, u'ż')}, 39.0, 9.2) == size,
                     qPrintable(QString::number(length)));
        const QString family = QStringLiteral("👨‍👩‍👧‍👦"); // one character
        QCOMPARE(fitFontSize({(family + "e\u0301").repeated(31)}, 39.0, 9.2), 8.0);

        const struct {
            int lines, length;
            double size;
        } addresses[] = {{2, 21, 8.0}, {2, 22, 7.5}, {3, 21, 7.0}, {3, 25, 6.5},
                         {4, 1, 5.0},  {5, 1, 5.0},  {0, 0, 8.0},  {3, 0, 7.0}};
        for (const auto& [lines, length, size] : addresses)
            QVERIFY2(fitFontSize(QStringList(lines, QString(length, u'a')), 26.4, 9.2) == size,
                     qPrintable(QStringLiteral("%1 of %2").arg(lines).arg(length)));
    }

    void countsLinesOfABoxTooNarrow() {
        QCOMPARE(visualLines({"abc", ""}, 8.0, 0.1), 4);
        QCOMPARE(visualLines({"a\r\nb"}, 8.0, 1.24), 3); // CR LF is one character
        QCOMPARE(visualLines({"abc"}, 0.0, 39.0), 1);
    }

    void writesLinesIntoOneParagraph() {
        setTextboxText(usualShape(), {"A", "B & <C>", " c "}, 7.5);
        QCOMPARE(content(), paragraphStart + run("15", "A") + breakRun("15") +
                                run("15", "B &amp; &lt;C&gt;") + breakRun("15") + run("15", " c ") +
                                "</w:p>");
        setTextboxText(usualShape(), {}, 8.0);
        QCOMPARE(content(), paragraphStart + "</w:p>");
    }

    void writesSenderAndPageNumber() {
        setSenderText(usualShape(), "Firma\nŻak");
        QCOMPARE(content(), paragraphStart + run("18", "Firma\nŻak", "<w:b/><w:bCs/>") + "</w:p>");
        setPageNumberText(usualShape(), 1, 1);
        QCOMPARE(content(), paragraphStart + run("16", "1") + "</w:p>");
        setPageNumberText(usualShape(), 3, 12);
        QCOMPARE(content(), paragraphStart + run("16", "3/12") + "</w:p>");
    }

    void leavesOutWhatXmlCannotHold() {
        QString text = QStringLiteral("a\u0001b\u001f\ufffe\uffff😀\tc\u0085");
        text += QChar(0xd800);
        text += u'd';
        text += QChar(0xdc00);
        text += QChar(u'\0');
        setSenderText(usualShape(), text);
        QCOMPARE(content(), paragraphStart +
                                run("18",
                                    "ab😀\tc\u0085"
                                    "d",
                                    "<w:b/><w:bCs/>") +
                                "</w:p>");
    }

    void leavesAShapeWithoutBoxAlone() {
        const QByteArray shape =
            "<wps:wsp><w:txbxContent>t</w:txbxContent><wps:txbx><x><w:txbxContent>t</w:txbxContent>"
            "</x></wps:txbx><wps:txbx><w:txbxContent>t</w:txbxContent></wps:txbx></wps:wsp>";
        const pugi::xml_node node = shapeWith(shape.constData());
        setTextboxText(node, {"A"}, 8.0);
        setSenderText(node, "A");
        setPageNumberText(node, 1, 2);
        QCOMPARE(rawXml(node), shape);
    }
};

QTEST_APPLESS_MAIN(TextPlacementTest)
#include "TextPlacementTest.moc"
