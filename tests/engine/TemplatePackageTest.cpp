#include "engine/TemplatePackage.h"

#include "engine/EngineError.h"
#include "engine/ZipArchive.h"
#include "tests/support/Archives.h"
#include "tests/support/Files.h"

#include <QDir>
#include <QDirIterator>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace kopertal;
using namespace kopertal::test;

/// Unpacking templates that are not to be trusted, and packing documents.
class TemplatePackageTest : public QObject {
    Q_OBJECT

private:
    /// Everything below the scratch folder but the template itself.
    QStringList leftovers() const {
        QStringList result;
        QDirIterator walk(m_scratch->path(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                          QDirIterator::Subdirectories);
        while (walk.hasNext()) {
            if (walk.next() != m_template)
                result += walk.filePath();
        }
        result.removeOne(m_scratch->filePath("tmp"));
        return result;
    }

    bool isRefused() const {
        try {
            const TemplatePackage package(m_template);
            return false;
        } catch (const FileError&) {
            return leftovers().isEmpty();
        }
    }

    bool isRefused(const QList<ArchiveEntry>& entries) const {
        return writeArchive(m_template, entries) && isRefused();
    }

    std::unique_ptr<QTemporaryDir> m_scratch;
    QString m_template;

private Q_SLOTS:
    void init() {
        m_scratch = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir(m_scratch->path()).mkdir("tmp"));
        qputenv("TMPDIR", QFile::encodeName(m_scratch->filePath("tmp")));
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
        {
            TemplatePackage package(m_template);
            package.root().child("w:body").append_child("w:p");
            package.save(output, {});
        }
        const auto saved = readArchive(output);
        QCOMPARE(saved.keys(),
                 QStringList({".hidden", "[Content_Types].xml", "_rels/.rels", "stored.bin",
                              "word/document.xml", "word/media/zdjęcie.png"}));
        for (const auto& entry : saved)
            QVERIFY(entry.isStored);
        QCOMPARE(saved["[Content_Types].xml"].contents,
                 "<Types a='document.main+xml' b='x.document.main+xml'>ż</Types>");
        QVERIFY(saved["word/document.xml"].contents.contains("<w:p />"));
        QCOMPARE(saved["word/media/zdjęcie.png"].contents, binary);
        QCOMPARE(saved["stored.bin"].contents, binary);
        QCOMPARE(leftovers(), QStringList(output));
    }

    void workFolderIsPrivateAndGoes() {
        QVERIFY(writeArchive(m_template, templateEntries("<a/>")));
        {
            const TemplatePackage package(m_template);
            const QFileInfoList folders =
                QDir(m_scratch->filePath("tmp")).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot);
            QCOMPARE(folders.size(), 1);
            QCOMPARE(folders[0].fileName().size(), 36);
            struct stat status;
            QCOMPARE(stat(QFile::encodeName(folders[0].filePath()).constData(), &status), 0);
            QCOMPARE(status.st_mode & 07777U, 0700U);
        }
        QCOMPARE(leftovers(), QStringList());
    }

    void refusesEntriesThatWouldLandElsewhere() {
        QList<std::pair<QByteArray, unsigned int>> elsewhere{{"link", S_IFLNK | 0777},
                                                             {"device", S_IFBLK | 0600}};
        for (const char* name : {"../evil", "word/../../evil", "/evil", "..", "./a", "a//b",
                                 "word\\evil", "C:\\evil", "a\nb", "../"})
            elsewhere.append({name, 0});
        for (const auto& [name, mode] : elsewhere) {
            QList<ArchiveEntry> entries = templateEntries("<a/>");
            entries.prepend({name, "/etc/passwd", true, mode});
            QVERIFY2(isRefused(entries), name);
        }
    }

    void refusesAnEntryThatStandsTwice() {
        for (const auto& [name, becomes] :
             {std::pair{"word/documenT.xml", "word/document.xml"}, {"stylez/a", "styles/a"}}) {
            QList<ArchiveEntry> entries = templateEntries("<a/>");
            entries << ArchiveEntry{"styles", "s"} << ArchiveEntry{name, "<b/>"};
            QVERIFY(writeArchive(m_template, entries));
            writeFile(m_template, contentsOf(m_template).replace(name, becomes));
            QVERIFY(isRefused());
        }
    }

    /// The central directory's checksum is changed: every byte and size is right.
    void refusesDamage() {
        QList<ArchiveEntry> entries = templateEntries("<a/>");
        entries << ArchiveEntry{"other.bin", "other"};
        for (const bool deflated : {false, true}) {
            for (ArchiveEntry& each : entries)
                each.deflated = deflated;
            QVERIFY(writeArchive(m_template, entries));
            const QByteArray whole = contentsOf(m_template);
            for (const char* entry : {"[Content_Types].xml", "word/document.xml", "other.bin"}) {
                QByteArray bytes = whole;
                const qsizetype header = bytes.lastIndexOf(entry) - 46;
                QCOMPARE(bytes.mid(header, 4), QByteArray("PK\1\2"));
                bytes[header + 16] = static_cast<char>(bytes[header + 16] ^ 1);
                writeFile(m_template, bytes);
                QVERIFY2(isRefused(), entry);
            }
        }
    }

    void refusesATruncatedArchive() {
        QVERIFY(writeArchive(m_template, templateEntries("<a/>")));
        const QByteArray whole = contentsOf(m_template);
        for (qsizetype size = 0; size < whole.size(); size += 7) {
            writeFile(m_template, whole.left(size));
            QVERIFY(isRefused());
        }
    }

    void refusesWhatUnpacksToTooMuch() {
        const std::pair<qint64, qint64> cases[] = {// files, bytes of each
                                                   {1, maxUnpackedEntryBytes + 1},
                                                   {5, maxUnpackedBytes / 5 + 1},
                                                   {maxArchiveEntries, 0}};
        for (const auto& [files, bytesEach] : cases) {
            QList<ArchiveEntry> entries = templateEntries("<a/>");
            const QByteArray zeros(bytesEach, '\0');
            for (qint64 i = 0; i < files; ++i)
                entries << ArchiveEntry{QByteArray::number(i), zeros};
            QVERIFY2(isRefused(entries), QByteArray::number(files));
        }
    }

    void refusesALargeFile() {
        const qint64 headers = 4096; // more than an archive of these has
        for (const qint64 size : {maxArchiveBytes - headers, maxArchiveBytes}) {
            QList<ArchiveEntry> entries = templateEntries("<a/>");
            entries << ArchiveEntry{"stored.bin", QByteArray(size, '\0'), false};
            QCOMPARE(isRefused(entries), size == maxArchiveBytes);
        }
    }

    void refusesAnEmptyFileAsItDoesAnyOther() {
        for (const QByteArray& bytes : {QByteArray(), QByteArray("no archive")}) {
            writeFile(m_template, bytes);
            try {
                const TemplatePackage package(m_template);
                QFAIL("no failure");
            } catch (const FileError& error) {
                QCOMPARE(QString::fromUtf8(error.what()), m_template + ": Not a zip archive");
            }
        }
    }

    void refusesWhatIsNoTemplate() {
        const QList<ArchiveEntry> broken = templateEntries("<a><b></a>");
        for (const auto& entries : {broken, broken.first(2)}) // the second has no main document
            QVERIFY(isRefused(entries));
    }

    void needsATemporaryFolder() {
        QVERIFY(writeArchive(m_template, templateEntries("<a/>")));
        const QString file = m_scratch->filePath("file");
        writeFile(file, "x");
        qputenv("TMPDIR", QFile::encodeName(file));
        QVERIFY_THROWS_EXCEPTION(FileError, TemplatePackage{m_template});
        const QString fresh = m_scratch->filePath("new/tmp");
        qputenv("TMPDIR", QFile::encodeName(fresh));
        { const TemplatePackage package(m_template); }
        QVERIFY(QDir(fresh).exists() && QDir(fresh).isEmpty());
    }
};

QTEST_APPLESS_MAIN(TemplatePackageTest)
#include "TemplatePackageTest.moc"
