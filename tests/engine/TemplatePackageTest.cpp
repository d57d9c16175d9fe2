#include "engine/TemplatePackage.h"

#include "engine/EngineError.h"
#include "engine/ZipArchive.h"
#include "tests/support/Archives.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

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
    static QString refusal(const QString& path) {
        try {
            const TemplatePackage package(path);
        } catch (const FileError& error) {
            if (temporaries().isEmpty())
                return error.what();
        }
        return {};
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
        QList<ArchiveEntry> entries = templateEntries("<w:document><w:body/></w:document>");
        entries << ArchiveEntry{"word/media/zdjęcie.png", binary} << ArchiveEntry{".hidden", "h"};
        entries[0].contents = "<Types a='template.main+xml' b='x.template.main+xml'>ż</Types>";
        QVERIFY(writeArchive(m_template, entries));
        const QString output = m_scratch->filePath("o.docx");
        TemplatePackage package(m_template);
        package.root().child("w:body").append_child("w:p");
        package.save(output, {});
        const auto saved = readArchive(output);
        QCOMPARE(saved.keys(), QStringList({".hidden", "[Content_Types].xml", "_rels/.rels",
                                            "word/document.xml", "word/media/zdjęcie.png"}));
        QCOMPARE(saved["[Content_Types].xml"].contents,
                 "<Types a='document.main+xml' b='x.document.main+xml'>ż</Types>");
        QVERIFY(saved["word/document.xml"].contents.contains("<w:p />"));
        QCOMPARE(saved["word/media/zdjęcie.png"].contents, binary);
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

    void refusesHostileArchives() {
        const QString folder(KOPERTAL_SOURCE_DIR "/tests/fuzz/corpus/Template/");
        for (const char* sound : {"deflated.zip", "stored.zip"})
            QCOMPARE(refusal(folder + sound), QString());
        const std::pair<QStringList, const char*> cases[] = {
            {{"absolute", "climbs", "backslash", "control", "link", "fifo"}, "niedozwolony wpis"},
            {{"twice"}, "dwa razy"},
            {{"file-as-folder"}, "word/document.xml/x: "},
            {{"broken-checksum"}, "CRC error"}, // every byte and size is right
            {{"truncated"}, "Not a zip archive"},
            {{"no-document"}, "word/document.xml: "}};
        for (const auto& [names, words] : cases) {
            for (const QString& name : names)
                QVERIFY2(refusal(folder + name + ".zip").contains(words), qPrintable(name));
        }
    }

    void refusesWhatUnpacksToTooMuch() {
        const std::pair<qint64, qint64> cases[] = {// files, bytes of each
                                                   {1, maxUnpackedEntryBytes + 1},
                                                   {5, maxUnpackedBytes / 5 + 1},
                                                   {maxArchiveEntries, 0}};
        for (const auto& [files, bytesEach] : cases) {
            QList<ArchiveEntry> entries = templateEntries("<a/>");
            for (qint64 i = 0; i < files; ++i)
                entries << ArchiveEntry{QByteArray::number(i), QByteArray(bytesEach, '\0')};
            QVERIFY(writeArchive(m_template, entries));
            QVERIFY2(!refusal(m_template).isEmpty(), QByteArray::number(files));
        }
    }

    void refusesALargeFile() {
        QFile file(m_template);
        QVERIFY(file.open(QIODevice::WriteOnly));
        for (const qint64 size : {qint64(0), maxArchiveBytes, maxArchiveBytes + 1}) {
            QVERIFY(file.resize(size));
            QVERIFY(refusal(m_template)
                        .endsWith(size > maxArchiveBytes ? "za duże" : "Not a zip archive"));
        }
    }
};

QTEST_APPLESS_MAIN(TemplatePackageTest)
#include "TemplatePackageTest.moc"
