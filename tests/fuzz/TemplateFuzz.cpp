#include "engine/EngineError.h"
#include "engine/RegisterDocument.h"
#include "engine/TemplatePackage.h"
#include "tests/fuzz/FuzzTarget.h"
#include "tests/support/Archives.h"
#include "tests/support/Files.h"

#include <QDir>
#include <QDirIterator>
#include <QTemporaryDir>

using namespace kopertal;
using namespace kopertal::test;

namespace {

QStringList everythingIn(const QString& folder) {
    QStringList everything;
    QDirIterator each(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                      QDirIterator::Subdirectories);
    while (each.hasNext())
        everything += each.next();
    everything.sort();
    return everything;
}

bool isFilled(const QString& form, const QString& output) {
    const ParsedAddress address{
        QUuid(), QStringLiteral("Łukasz & syn"), {QStringLiteral("ul. Długa 5 m. <2>")}};
    try {
        fillTemplate({11, address}, form, output, QStringLiteral("Nadawca\u0001"),
                     QStringLiteral("ul. Prosta 1\n00-838"));
        return true;
    } catch (const EngineError&) {
    } catch (const FileError&) {
    }
    return false;
}

} // namespace

/// Bytes that begin as an archive does are the template; any other are its main document, because
/// hardly a mutated archive gets past its checksums.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const QTemporaryDir folder;
    const QByteArray input(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QByteArray oldContent = "what stood here before";
    const QString form = folder.filePath(QStringLiteral("template.dotx"));
    const QString output = folder.filePath(QStringLiteral("register.docx"));
    // So deep inside that an entry which climbs out of a work folder is still seen.
    const QString temporary = folder.filePath(QStringLiteral("climb/climb/climb/tmp"));
    qputenv("TMPDIR", QFile::encodeName(temporary));
    QDir().mkpath(temporary);
    writeFile(output, oldContent);
    if (input.startsWith("PK"))
        writeFile(form, input);
    else
        require(writeArchive(form, templateEntries(input)), "a template can be made");

    const QStringList before = everythingIn(folder.path());
    if (isFilled(form, output))
        require(!TemplatePackage(output).root().empty(), "the document has a root element");
    else
        require(contentsOf(output) == oldContent, "a failure keeps the old file");
    require(everythingIn(folder.path()) == before,
            "no work folder is left and nothing is written elsewhere");
    return 0;
}
