#include "engine/EngineError.h"
#include "engine/RegisterDocument.h"
#include "engine/TemplatePackage.h"
#include "tests/fuzz/FuzzTarget.h"
#include "tests/support/Archives.h"
#include "tests/support/Files.h"

#include <QDir>
#include <QTemporaryDir>

#include <filesystem>
#include <set>

using namespace kopertal;
using namespace kopertal::test;

namespace {

std::set<std::filesystem::path> everythingIn(const QString& folder) {
    const std::filesystem::recursive_directory_iterator first(folder.toStdString());
    return {begin(first), end(first)};
}

} // namespace

/// Bytes that begin as an archive does are the template; any other are its main document, because
/// hardly a mutated archive gets past its checksums.
void feed(QByteArrayView input) {
    static const QTemporaryDir folder;
    const QByteArray oldContent = "what stood here before";
    const QString form = folder.filePath("template.dotx");
    const QString output = folder.filePath("register.docx");
    // So deep inside that an entry which climbs out of a work folder is still seen.
    const QString temporary = folder.filePath("climb/climb/climb/tmp");
    qputenv("TMPDIR", QFile::encodeName(temporary));
    QDir().mkpath(temporary);
    writeFile(output, oldContent);
    if (input.startsWith("PK"))
        writeFile(form, input.toByteArray());
    else
        require(writeArchive(form, templateEntries(input.toByteArray())), "a template can be made");

    const auto before = everythingIn(folder.path());
    const ParsedAddress address{QUuid(), "Łukasz & syn", {"ul. Długa 5 m. <2>"}};
    try {
        fillTemplate({11, address}, form, output, "Nadawca\u0001", "ul. Prosta 1\n00-838");
        require(!TemplatePackage(output).root().empty(), "the document has a root element");
    } catch (const EngineError&) {
        require(contentsOf(output) == oldContent, "a failure keeps the old file");
    } catch (const FileError&) {
        require(contentsOf(output) == oldContent, "a failure keeps the old file");
    }
    require(everythingIn(folder.path()) == before,
            "no work folder is left and nothing is written elsewhere");
}
