#include "engine/TemplatePackage.h"

#include "engine/EngineError.h"
#include "engine/ZipArchive.h"
#include "tests/support/Archives.h"
#include "tests/support/Files.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace kopertal;
using namespace kopertal::test;

/// Unpacking templates that are not to be trusted, and packing documents.
class TemplatePackageTest : public QObject {
    Q_OBJECT

private:
    /// What stands in the system's temporary directory.
    static QFileInfoList temporaries() {
        return QDir(qEnvironmentVariable("TMPDIR"))
            .entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

    /// In which words the template is refused; none when it is not, or leaves something behind.
    QString refusal() const {
        try {
            const TemplatePackage package(m_template);
        } catch (const FileError& error) {
            if (temporaries().isEmpty())
                return error.what();
        }
        return {};
    }

    /// Whether a template is refused that has these entries, too.
    bool refuses(const QList<ArchiveEntry>& entries) const {
        return writeArchive(m_template, templateEntries("<a/>") + entries) && !refusal().isEmpty();
    }

    std::unique_ptr<QTemporaryDir> m_scratch;
    QString m_template;

private Q_SLOTS:
    void init() {
        m_scratch = std::make_unique<QTemporaryDir>();
        qputenv("TMPDIR", QFile::encodeName(m_scratch->filePath("missing/tmp")));
        m_template = m_scratch->filePath("t.dotx");
    }

    void cleanup() { qunsetenv("TMPDIR"); }

    void savesEveryPartAndConvertsTheContentType() {
        const QByteArray binary = QByteArray("\0\xff\r\n", 4).repeated(50'000);
        QList<ArchiveEntry> entries =
            templateEntries("<w:document xmlns:w='u'><w:body/></w:document>");
        entries << ArchiveEntry{"word/media/", {}} << ArchiveEntry{"word/media/zdjęcie.png", binary}
                << ArchiveEntry{"stored.bin", binary, false} << ArchiveEntry{".hidden", "h"};
        entries[0].contents = "<Types a='template.main+xml' b='x.template.main+xml'>ż</Types>";
        QVERIFY(writeArchive(m_template, entries));
        const QString output = m_scratch->filePath("o.docx");
        TemplatePackage package(m_template);
        package.root().child("w:body").append_child("w:p");
        package.save(output, {});
        const auto saved = readArchive(output);
        QCOMPARE(saved.keys(),
                 QStringList({".hidden", "[Content_Types].xml", "_rels/.rels", "stored.bin",
                              "word/document.xml", "word/media/zdjęcie.png"}));
        for (const auto& entry : saved)
            QVERIFY(!entry.deflated);
        QCOMPARE(saved["[Content_Types].xml"].contents,
                 "<Types a='document.main+xml' b='x.document.main+xml'>ż</Types>");
        QVERIFY(saved["word/document.xml"].contents.contains("<w:p />"));
        QCOMPARE(saved["word/media/zdjęcie.png"].contents, binary);
        QCOMPARE(saved["stored.bin"].contents, binary);
    }

    void workFolderIsPrivateAndGoes() {
        QVERIFY(writeArchive(m_template, templateEntries("<a/>")));
        {
            const TemplatePackage package(m_template);
            QCOMPARE(temporaries().size(), 1);
            QCOMPARE(temporaries()[0].fileName().size(), 36);
            constexpr QFile::Permissions all(0x7077);
            QCOMPARE(temporaries()[0].permissions() & all, QFile::Permissions(0x7000));
        }
        QVERIFY(temporaries().isEmpty());
        qputenv("TMPDIR", QFile::encodeName(m_template)); // which is no folder
        QVERIFY_THROWS_EXCEPTION(FileError, TemplatePackage{m_template});
    }

    void refusesEntriesThatWouldLandElsewhere() {
        for (const char* name : {"../evil", "word/../../evil", "/evil", "..", "./a", "a//b",
                                 "word\\evil", "C:\\evil", "a\nb", "../"})
            QVERIFY2(refuses({{name, "x"}}), name);
        for (const unsigned int mode : {S_IFLNK | 0777, S_IFBLK | 0600})
            QVERIFY(refuses({{"elsewhere", "/etc/passwd", true, mode}}));
    }

    void refusesAnEntryThatStandsTwice() {
        for (const auto& [name, becomes] :
             {std::pair{"word/documenT.xml", "word/document.xml"}, {"stylez/a", "styles/a"}}) {
            QVERIFY(!refuses({{"styles", "s"}, {name, "<b/>"}}));
            writeFile(m_template, contentsOf(m_template).replace(name, becomes));
            QVERIFY(!refusal().isEmpty());
        }
    }

    /// The central directory's checksum is changed: every byte and size is right.
    void refusesDamage() {
        for (const bool deflated : {false, true}) {
            QVERIFY(!refuses({{"other.bin", "other", deflated}}));
            QByteArray bytes = contentsOf(m_template);
            const qsizetype header = bytes.lastIndexOf("other.bin") - 46;
            QCOMPARE(bytes.mid(header, 4), QByteArray("PK\1\2"));
            bytes[header + 16] = static_cast<char>(bytes[header + 16] ^ 1);
            writeFile(m_template, bytes);
            QVERIFY(!refusal().isEmpty());
        }
    }

    void refusesWhatUnpacksToTooMuch() {
        const std::pair<qint64, qint64> cases[] = {// files, bytes of each
                                                   {1, maxUnpackedEntryBytes + 1},
                                                   {5, maxUnpackedBytes / 5 + 1},
                                                   {maxArchiveEntries, 0}};
        for (const auto& [files, bytesEach] : cases) {
            QList<ArchiveEntry> entries;
            for (qint64 i = 0; i < files; ++i)
                entries << ArchiveEntry{QByteArray::number(i), QByteArray(bytesEach, '\0')};
            QVERIFY2(refuses(entries), QByteArray::number(files));
        }
    }

    void refusesALargeFile() {
        const qint64 headers = 4096; // more than an archive of these has
        for (const qint64 size : {maxArchiveBytes - headers, maxArchiveBytes})
            QCOMPARE(refuses({{"stored.bin", QByteArray(size, '\0'), false}}),
                     size == maxArchiveBytes);
    }

    void refusesWhatIsNoTemplate() {
        QVERIFY(writeArchive(m_template, templateEntries({}).first(2))); // no main document
        QVERIFY(!refusal().isEmpty());
        for (const char* bytes : {"", "no archive"}) {
            writeFile(m_template, bytes);
            QVERIFY(refusal().endsWith(": Not a zip archive"));
        }
    }
};

QTEST_APPLESS_MAIN(TemplatePackageTest)
#include "TemplatePackageTest.moc"
