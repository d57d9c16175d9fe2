#include "engine/RegisterDocument.h"

#include "engine/EngineError.h"
#include "engine/OutputPath.h"
#include "engine/TemplateLayout.h"
#include "engine/XmlTree.h"
#include "tests/support/Archives.h"
#include "tests/support/Files.h"
#include "tests/support/Privileges.h"
#include "tests/support/Xml.h"

#include <QDir>
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

const QByteArray emptyBox = "<wps:txbx><w:txbxContent/></wps:txbx>";

/// A group of twenty shapes that hold `box`: the ones of names, then those of addresses.
QByteArray grid(const QByteArray& box = emptyBox, int names = 10) {
    QByteArray xml = "<wpg:wgp>";
    for (int i = 0; i < 20; ++i)
        xml += "<wps:wsp><wps:spPr><a:xfrm><a:off x='" + QByteArray(i < names ? "0" : "900000") +
               "' y='" + QByteArray::number(i) + "'/></a:xfrm></wps:spPr>" + box + "</wps:wsp>";
    return xml + "</wpg:wgp>";
}

/// What stands in a text box, the size of its first run before it; "-" when it holds no text.
QString boxText(pugi::xml_node shape) {
    QStringList lines;
    for (const pugi::xml_node& text : descendants(shape, "w:t"))
        lines += QString::fromUtf8(text.text().get());
    const std::vector<pugi::xml_node> sizes = descendants(shape, "w:sz");
    return lines.isEmpty() ? "-"
                           : QString(sizes.empty() ? "" : sizes[0].attribute("w:val").value()) +
                                 ":" + lines.join("/");
}

} // namespace

/// fillTemplate() from end to end, over the program's own template where none is named.
class RegisterDocumentTest : public QObject {
    Q_OBJECT

private:
    pugi::xml_node openOutput() {
        m_document.reset();
        parseXml(readArchive(m_output)["word/document.xml"].contents, "document", m_document);
        return m_document.document_element();
    }

    void fill(const QList<ParsedAddress>& addresses, const QString& name = "Nadawca",
              const QString& address = "ul. Nadawcza 1") {
        fillTemplate(addresses, std::nullopt, m_output, name, address);
    }

    /// A template whose main document's root has that content. Its path.
    QString makeTemplate(const QByteArray& content) const {
        const QString path = m_scratch->filePath("t.dotx");
        if (!writeArchive(path, templateEntries("<w:document>" + content + "</w:document>")))
            qFatal("no template");
        return path;
    }

    QStringList filesBeside() const {
        return QDir(QFileInfo(m_output).path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    /// After a failure: the work folder gone, the output as it was.
    void verifyNothingChanged() {
        QCOMPARE(filesBeside(), QStringList("o.docx"));
        QCOMPARE(contentsOf(m_output), "old");
        QVERIFY(QDir(m_scratch->filePath("tmp")).isEmpty());
    }

    std::unique_ptr<QTemporaryDir> m_scratch;
    QString m_output;
    pugi::xml_document m_document;

private Q_SLOTS:
    void init() {
        m_scratch = std::make_unique<QTemporaryDir>();
        // An ordinary user, whose part some tests play, must get in.
        QFile::setPermissions(m_scratch->path(), QFile::Permissions(0x7755));
        for (const char* folder : {"tmp", "out"})
            QVERIFY(QDir(m_scratch->path()).mkdir(folder));
        QFile::setPermissions(m_scratch->filePath("tmp"), QFile::Permissions(0x7777));
        qputenv("TMPDIR", QFile::encodeName(m_scratch->filePath("tmp")));
        m_output = m_scratch->filePath("out/o.docx");
        writeFile(m_output, "old");
    }

    void cleanup() { qunsetenv("TMPDIR"); }

    void anEmptySenderKeepsTheTemplatesText() {
        fill(recipients(11), QStringLiteral(" \t\u00a0\u0001\ufffe "), " ul. 1 ");
        const std::vector<SenderShapePair> pairs = findAllSenderShapePairs(openOutput());
        QCOMPARE(boxText(pairs.at(0).addressShape), "18:ul. 1");
        const QString kept = boxText(pairs.at(0).nameShape);
        QVERIFY(kept.contains(u'…'));
    }

    void fillsWhatStandsOutsideTheBody() {
        const QByteArray body = "<w:body><w:p/><w:sectPr/></w:body>";
        const auto free = [](const QByteArray& x, const QByteArray& height,
                             const QByteArray& text) {
            return "<wps:wsp><wps:spPr><a:xfrm><a:off x='" + x + "'/><a:ext cy='" + height +
                   "'/></a:xfrm></wps:spPr><wps:txbx><w:txbxContent>" + text +
                   "</w:txbxContent></wps:txbx></wps:wsp>";
        };
        const QByteArray fields = "<w:x>" + grid() + free("9", "1", "<w:t>n</w:t>") +
                                  free("0", "1", "<w:t>a</w:t>") + free("0", "300000", "") +
                                  "</w:x>";
        for (const QByteArray& content : {body + fields, fields + body}) {
            for (const int count : {2, 170}) {
                const int placed = std::min(count, 10);
                const int pages = (count + 9) / 10;
                QCOMPARE(fillTemplate(recipients(count), makeTemplate(content), m_output, "Nadawca",
                                      "ul. Nadawcza 1"),
                         placed);
                const pugi::xml_node root = openOutput();
                const TextboxGrid filled = findAllTextboxGrids(root).at(0);
                for (int i = 0; i < placed; ++i)
                    QVERIFY(boxText(filled.nameShapes.at(size_t(i)))
                                .endsWith(QString(":Adresat %1").arg(i + 1)));
                const std::vector<pugi::xml_node> shapes = descendants(root, "wps:wsp");
                QCOMPARE(boxText(shapes.at(20)), "18:Nadawca");
                QCOMPARE(boxText(shapes.at(21)), "18:ul. Nadawcza 1");
                QCOMPARE(boxText(shapes.at(22)),
                         pages == 1 ? QString("16:1") : QString("16:1/%1").arg(pages));
                const auto paragraphs = root.child("w:body").children("w:p");
                QCOMPARE(std::distance(paragraphs.begin(), paragraphs.end()), pages);
            }
        }
    }

    void keepsWhatStandsBesideThePage() {
        for (const char* each : {"abc", "<![CDATA[abc]]>", "<!--abc-->", "<?abc d?>"}) {
            const QByteArray text = each;
            for (const auto& [before, after] : {std::pair{text, QByteArray()}, {{}, text}}) {
                const QString path = makeTemplate("<w:body>" + before + "<w:p>" + grid() +
                                                  "</w:p><w:sectPr/>" + after + "</w:body>");
                for (const int count : {2, 170}) {
                    QCOMPARE(fillTemplate(recipients(count), path, m_output, {}, {}), count);
                    const pugi::xml_node root = openOutput();
                    QByteArray kept;
                    for (const pugi::xml_node& child : root.child("w:body").children()) {
                        if (child.type() != pugi::node_element)
                            kept += rawXml(child).trimmed();
                    }
                    QCOMPARE(kept, text);
                    QCOMPARE(descendants(root, "w:sectPr").size(), size_t(1));
                    const std::vector<TextboxGrid> grids = findAllTextboxGrids(root);
                    QCOMPARE(qsizetype(grids.size()), (count + 9) / 10);
                    for (int i = 0; i < count; ++i)
                        QVERIFY(boxText(grids[size_t(i / 10)].nameShapes[size_t(i % 10)])
                                    .endsWith(QString(":Adresat %1").arg(i + 1)));
                }
            }
        }
    }

    void aTemplateWithoutABodyStaysAsItIs() {
        const QString path = makeTemplate("<w:p>abc</w:p>");
        for (const int count : {1, 161}) {
            QCOMPARE(fillTemplate(recipients(count), path, m_output, {}, {}), 0);
            QCOMPARE(rawXml(openOutput()), "<w:document><w:p>abc</w:p></w:document>");
        }
    }

    void refusesAGridThatLacksRows() {
        const QString path = makeTemplate("<w:body><w:p/>" + grid(emptyBox, 11) + "</w:body>");
        QVERIFY_THROWS_EXCEPTION(EngineError, fillTemplate(recipients(10), path, m_output, {}, {}));
        verifyNothingChanged();
        fillTemplate(recipients(9), path, m_output, {}, {});
        QCOMPARE(boxText(findAllTextboxGrids(openOutput()).at(0).addressShapes.at(8)),
                 "16:ul. 9/00-000 X");
    }

    void refusesWhatCannotBeARegister() {
        const ParsedAddress endless{QUuid(), "A", QStringList(int(maxAddressLines) + 1, "x")};
        for (const auto& tooMuch : {recipients(int(maxRecipients) + 1), {endless}}) {
            QVERIFY_THROWS_EXCEPTION(FileError, fill(tooMuch));
            verifyNothingChanged();
        }
    }

    void refusesGridsThatShareTheirBoxes() {
        const auto at = [](const QByteArray& x) {
            return "<wps:spPr><a:xfrm><a:off x='" + x + "'/></a:xfrm></wps:spPr>";
        };
        const QByteArray oneBox =
            "<wps:wsp>" + at("0") + "<wps:wsp>" + at("900000") + emptyBox + "</wps:wsp></wps:wsp>";
        for (const QByteArray& content : {grid(), oneBox.repeated(10)}) {
            const QString path =
                makeTemplate("<w:body><w:p><wpg:wgp>" + content + "</wpg:wgp></w:p></w:body>");
            QVERIFY_THROWS_EXCEPTION(EngineError,
                                     fillTemplate(recipients(25), path, m_output, {}, {}));
            verifyNothingChanged();
        }
    }

    void countsNobodyWithoutATextBox() {
        for (const char* box :
             {"", "<wps:txbx/>", "<wps:txbx><w:x><w:txbxContent/></w:x></wps:txbx>"}) {
            QByteArray oneWithout = grid();
            oneWithout.replace(oneWithout.lastIndexOf(emptyBox), emptyBox.size(), box);
            for (const auto& [group, placed] : {std::pair{grid(box), 0}, {oneWithout, 22}}) {
                const QString path = makeTemplate("<w:body><w:p>" + group + "</w:p></w:body>");
                QCOMPARE(fillTemplate(recipients(24), path, m_output, {}, {}), placed);
                const std::vector<TextboxGrid> grids = findAllTextboxGrids(openOutput());
                QCOMPARE(boxText(grids.at(1).addressShapes.at(9)), "-");
                QCOMPARE(boxText(grids.at(2).addressShapes.at(3)),
                         placed == 0 ? "-" : "16:ul. 24/00-000 X");
            }
        }
    }

    void refusesAFieldInsideAField() {
        const QByteArray field =
            "<wps:wsp><wps:spPr><a:xfrm><a:ext cy='300000'/></a:xfrm></wps:spPr>"
            "<wps:txbx><w:txbxContent>%</w:txbxContent></wps:txbx></wps:wsp>";
        const QByteArray nested = QByteArray(field).replace("%", field);
        const QString path = makeTemplate(nested);
        QVERIFY_THROWS_EXCEPTION(EngineError, fillTemplate({}, path, m_output, {}, {}));
        verifyNothingChanged();
    }

    void anUnwritableFolderLeavesTheOldFile() {
        QFile::setPermissions(m_scratch->filePath("out"), QFile::Permissions(0x5555));
        {
            const OrdinaryUser user;
            QVERIFY_THROWS_EXCEPTION(FileError, fill(recipients(1)));
        }
        verifyNothingChanged();
        QFile::setPermissions(m_scratch->filePath("out"), QFile::Permissions(0x7755));
    }

    void replacesAFolderOrSaysThatItCannot() {
        QFile::remove(m_output);
        QVERIFY(QDir().mkpath(m_output + "/below"));
        QFile::setPermissions(m_scratch->filePath("out"), QFile::Permissions(0x5555));
        QFile::setPermissions(m_output, QFile::Permissions(0x5555));
        {
            const OrdinaryUser user;
            QVERIFY_THROWS_EXCEPTION(FileError, fill(recipients(1)));
        }
        QVERIFY(QDir(m_output + "/below").exists());
        QCOMPARE(filesBeside(), QStringList("o.docx"));

        QFile::setPermissions(m_scratch->filePath("out"), QFile::Permissions(0x7755));
        QFile::setPermissions(m_output, QFile::Permissions(0x7755));
        fill(recipients(1));
        QCOMPARE(findAllTextboxGrids(openOutput()).size(), size_t(1));
    }

    void choosesFreeNames() {
        const QString base = m_scratch->filePath("a.b/kopertal_20250102.docx");
        QVERIFY(QDir().mkpath(m_scratch->filePath("a.b")));
        const auto make = [](const QString& path) { QFile(path).open(QIODevice::WriteOnly); };
        QCOMPARE(uniqueURL(base), base);
        make(base);
        QCOMPARE(uniqueURL(base), m_scratch->filePath("a.b/kopertal_20250102_1.docx"));
        QVERIFY(QFile::link("gone", m_scratch->filePath("a.b/kopertal_20250102_1.docx")));
        QCOMPARE(uniqueURL(base), m_scratch->filePath("a.b/kopertal_20250102_2.docx"));
        make(m_scratch->filePath("a.b/plain"));
        QCOMPARE(uniqueURL(m_scratch->filePath("a.b/plain")), m_scratch->filePath("a.b/plain_1"));
    }

    /// Last: the program's own template is gone afterwards.
    void namesTheMissingResource();
};

void RegisterDocumentTest::namesTheMissingResource() {
    Q_CLEANUP_RESOURCE(register_template_resource);
    try {
        fill(recipients(1));
        QFAIL("no failure");
    } catch (const EngineError& error) {
        QCOMPARE(error.what(), "Nie znaleziono szablonu: kopertal.dotx");
        QCOMPARE(error.kind(), EngineError::Case::templateNotFound);
    }
    verifyNothingChanged();
}

QTEST_APPLESS_MAIN(RegisterDocumentTest)
#include "RegisterDocumentTest.moc"
