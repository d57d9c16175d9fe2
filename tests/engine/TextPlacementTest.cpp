#include "engine/TextPlacement.h"

#include "engine/TextFitting.h"
#include "tests/support/Xml.h"

#include <QTest>

using namespace kopertal;
using kopertal::test::rawXml;

namespace {

const QByteArray fonts = "<w:rFonts w:ascii=\"Arial\" w:hAnsi=\"Arial\" w:cs=\"Arial\"/>";

QByteArray sizes(const QByteArray& halfPoints) {
    return "<w:sz w:val=\"" + halfPoints + "\"/><w:szCs w:val=\"" + halfPoints + "\"/>";
}

QByteArray run(const QByteArray& halfPoints, const QByteArray& text,
               const QByteArray& weight = {}) {
    return "<w:r><w:rPr>" + fonts + weight + sizes(halfPoints) +
           "<w:lang w:val=\"pl-PL\"/></w:rPr><w:t xml:space=\"preserve\">" + text + "</w:t></w:r>";
}

} // namespace

/// The fitting estimate and the runs that are written.
class TextPlacementTest : public QObject {
    Q_OBJECT

private:
    void verifyContent(const QByteArray& runs) {
        QCOMPARE(
            rawXml(textBoxContent(m_shape).first_child()),
            "<w:p><w:pPr><w:spacing w:after=\"0\" w:line=\"240\" w:lineRule=\"auto\"/></w:pPr>" +
                runs + "</w:p>");
        QVERIFY(!textBoxContent(m_shape).first_child().next_sibling());
    }

    pugi::xml_document m_document;
    pugi::xml_node m_shape;

private Q_SLOTS:
    void init() {
        m_document.load_string("<wps:wsp><v><wps:txbx><w:txbxContent><w:p><w:pPr><w:jc/></w:pPr>old"
                               "</w:p><w:tbl/></w:txbxContent></wps:txbx></v></wps:wsp>");
        m_shape = m_document.document_element();
    }

    void fitsNamesAndAddresses() {
        const struct {
            int lines, length;
            double width, size;
        } cases[] = {{1, 62, 39.0, 8.0},  {1, 63, 39.0, 7.5},   {1, 66, 39.0, 7.5},
                     {1, 67, 39.0, 7.0},  {1, 106, 39.0, 6.5},  {1, 135, 39.0, 5.5},
                     {1, 136, 39.0, 5.0}, {1, 5000, 39.0, 5.0}, {2, 21, 26.4, 8.0},
                     {2, 22, 26.4, 7.5},  {3, 21, 26.4, 7.0},   {3, 25, 26.4, 6.5},
                     {5, 1, 26.4, 5.0},   {0, 0, 26.4, 8.0},    {3, 0, 26.4, 7.0}};
        for (const auto& [lines, length, width, size] : cases)
            QVERIFY2(fitFontSize(QStringList(lines, QString(length, u'ż')), width, 9.2) == size,
                     qPrintable(QStringLiteral("%1 of %2").arg(lines).arg(length)));
        const QString family = QStringLiteral("👨‍👩‍👧‍👦"); // one character
        QCOMPARE(fitFontSize({(family + "e\u0301").repeated(31)}, 39.0, 9.2), 8.0);
    }

    void replacesTheContentByOneParagraph() {
        const QByteArray lineBreak = "<w:r><w:rPr>" + fonts + sizes("15") + "</w:rPr><w:br/></w:r>";
        setTextboxText(m_shape, {"A", "B & <C>", " c "}, 7.5);
        verifyContent(run("15", "A") + lineBreak + run("15", "B &amp; &lt;C&gt;") + lineBreak +
                      run("15", " c "));
        setPageNumberText(m_shape, 1, 1);
        verifyContent(run("16", "1"));
        setPageNumberText(m_shape, 3, 12);
        verifyContent(run("16", "3/12"));
    }

    void leavesOutWhatXmlCannotHold() {
        QString text = QStringLiteral("a\u0001b\u001f\ufffe\uffff😀\tc\n\u0085");
        text += QChar(0xd800) + QString("d") + QChar(0xdc00) + QChar(u'\0');
        setSenderText(m_shape, text);
        verifyContent(run("18",
                          "ab😀\tc\n\xc2\x85"
                          "d",
                          "<w:b/><w:bCs/>"));
    }
};

QTEST_APPLESS_MAIN(TextPlacementTest)
#include "TextPlacementTest.moc"
