#include "engine/AddressParsing.h"
#include "engine/EngineError.h"
#include "engine/RegisterDocument.h"
#include "engine/TemplatePackage.h"
#include "engine/ZipArchive.h"
#include "tests/fuzz/FuzzTarget.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QXmlStreamReader>

using namespace kopertal;

namespace {

const QByteArray oldContent = "what stood here before";

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(),
            "the scratch folder can be written");
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList entries(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                  QDir::NoDotAndDotDot);
}

/// A folder of the target's own, with the system's temporary directory so deep inside that an entry
/// which climbs out of a work folder is still seen.
class Scratch {
public:
    Scratch() {
        require(QDir(path()).mkpath(QStringLiteral("climb/climb/climb/tmp")) &&
                    QDir(path()).mkpath(QStringLiteral("parts/word")) &&
                    QDir(path()).mkpath(QStringLiteral("out")),
                "the scratch folder can be made");
        qputenv("TMPDIR", QFile::encodeName(filePath("climb/climb/climb/tmp")));
        writeFile(filePath("parts/[Content_Types].xml"),
                  "<Types><Override PartName=\"/word/document.xml\" ContentType=\"application/"
                  "vnd.openxmlformats-officedocument.wordprocessingml.template.main+xml\"/>"
                  "</Types>");
    }

    QString path() const { return m_folder.path(); }
    QString filePath(const char* name) const { return m_folder.filePath(QLatin1String(name)); }

    /// Whether nothing lies where only an escaped or forgotten file would.
    bool isClean() const {
        const QStringList onward{QStringLiteral("climb")};
        return entries(path()) == QStringList({"climb", "out", "parts", "template.dotx"}) &&
               entries(filePath("climb")) == onward && entries(filePath("climb/climb")) == onward &&
               entries(filePath("climb/climb/climb")) == QStringList{QStringLiteral("tmp")} &&
               entries(filePath("climb/climb/climb/tmp")).isEmpty();
    }

private:
    QTemporaryDir m_folder;
};

bool isArchive(const QByteArray& input) {
    return input.startsWith("PK");
}

/// Bytes that begin as an archive does are the template; any other are its main document, because
/// hardly a mutated archive gets past its checksums.
void makeTemplate(const Scratch& scratch, const QByteArray& input) {
    if (isArchive(input)) {
        writeFile(scratch.filePath("template.dotx"), input);
    } else {
        writeFile(scratch.filePath("parts/word/document.xml"), input);
        zipItem(scratch.filePath("parts"), scratch.filePath("template.dotx"), {});
    }
}

QString rootName(const QByteArray& document) {
    QXmlStreamReader reader(document);
    reader.setNamespaceProcessing(false);
    reader.readNextStartElement();
    return reader.qualifiedName().toString();
}

/// Opens the document that came of the input; one made from a main document keeps its root.
void checkOutput(const QString& output, const QByteArray& input) {
    try {
        const TemplatePackage package(output);
        const QString name = QString::fromUtf8(package.root().name());
        require(!name.isEmpty(), "the document has a root element");
        require(isArchive(input) || name == rootName(input), "names keep their prefixes");
    } catch (const std::exception& error) {
        require(false, error.what());
    }
}

bool fill(const Scratch& scratch, const QString& output) {
    static const QList<ParsedAddress> addresses = parseAddresses(
        QStringLiteral("Łukasz Gąsiorowski & syn\nul. Długa 5 m. <2>\n80-831 Gdańsk\n\n")
            .repeated(11));
    try {
        fillTemplate(addresses, scratch.filePath("template.dotx"), output,
                     QStringLiteral("Nadawca\u0001"), QStringLiteral("ul. Prosta 1\n00-838"));
        return true;
    } catch (const EngineError& error) {
        require(*error.what() != 0, "an error has a message");
    } catch (const FileError& error) {
        require(*error.what() != 0, "an error has a message");
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Scratch scratch;
    const QByteArray input(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    makeTemplate(scratch, input);
    const QString output = scratch.filePath("out/register.docx");
    const bool replaces = size % 2 == 0;
    QFile::remove(output);
    if (replaces)
        writeFile(output, oldContent);

    const bool isFilled = fill(scratch, output);
    require(scratch.isClean(), "no work folder is left and nothing is written outside");
    require(entries(scratch.filePath("out")).size() == (isFilled || replaces ? 1 : 0),
            "an output appears on success only, and no temporary file beside it");
    if (isFilled) {
        checkOutput(output, input);
    } else if (replaces) {
        require(readFile(output) == oldContent, "a failure keeps the old file");
    }
    return 0;
}
