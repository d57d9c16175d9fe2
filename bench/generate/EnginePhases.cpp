// Where the time of a generation goes, phase by phase, and what the parser needs for a large text.
// Usage: EnginePhases [RECIPIENTS]…

#include "engine/AddressParsing.h"
#include "engine/PageDuplication.h"
#include "engine/RegisterPages.h"
#include "engine/TemplateLayout.h"
#include "engine/TemplatePackage.h"
#include "engine/TextFitting.h"
#include "engine/TextPlacement.h"

#include <QTemporaryDir>

#include <chrono>
#include <cstdio>
#include <sys/resource.h>

using namespace kopertal;

namespace {

/// Prints how long each phase took since the one before, and the process's peak memory after it.
class PhaseTimer {
public:
    void finish(const char* phase) {
        const auto now = std::chrono::steady_clock::now();
        const std::chrono::duration<double, std::milli> elapsed = now - m_start;
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        std::printf("  %-28s %9.1f ms   peak %6.1f MB\n", phase, elapsed.count(),
                    static_cast<double>(usage.ru_maxrss) / 1024);
        m_start = std::chrono::steady_clock::now();
    }

private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

QString recipientsText(qsizetype count) {
    return QStringLiteral("Katarzyna Wiśniewska-Brzozowska\nul. Słoneczna 12 m. 34\n"
                          "00-950 Warszawa\n\n")
        .repeated(count);
}

class NullWriter : public pugi::xml_writer {
public:
    void write(const void*, size_t) override {}
};

void measureGeneration(qsizetype recipients) {
    std::printf("%lld recipients\n", static_cast<long long>(recipients));
    const QString text = recipientsText(recipients);
    const QTemporaryDir folder;
    const qsizetype pages = pageCount(recipients);

    PhaseTimer timer;
    const QList<ParsedAddress> addresses = parseAddresses(text);
    timer.finish("parse the addresses");
    TemplatePackage package(QStringLiteral(":/kopertal.dotx"));
    timer.finish("unpack and parse the template");
    const pugi::xml_node root = package.root();
    duplicatePages(root, pages);
    timer.finish("repeat the page");
    const std::vector<SenderShapePair> senders = findAllSenderShapePairs(root);
    timer.finish("find the senders");
    for (const SenderShapePair& pair : senders) {
        setSenderText(pair.nameShape, QStringLiteral("Nadawca"));
        setSenderText(pair.addressShape, QStringLiteral("ul. Prosta 1, 00-838 Warszawa"));
    }
    timer.finish("write the senders");
    const std::vector<TextboxGrid> grids = findAllTextboxGrids(root);
    timer.finish("find the grids");
    std::vector<double> sizes;
    for (const ParsedAddress& address : addresses) {
        sizes.push_back(fitFontSize({address.name}, 39.0, 9.2));
        sizes.push_back(fitFontSize(address.lines, 26.4, 9.2));
    }
    timer.finish("fit the recipients");
    for (size_t i = 0; i < static_cast<size_t>(addresses.size()); ++i) {
        const ParsedAddress& address = addresses[static_cast<qsizetype>(i)];
        const TextboxGrid& grid = grids[i / recipientsPerPage];
        setTextboxText(grid.nameShapes[i % recipientsPerPage], {address.name}, sizes[2 * i]);
        setTextboxText(grid.addressShapes[i % recipientsPerPage], address.lines, sizes[2 * i + 1]);
    }
    timer.finish("write the recipients");
    const std::vector<pugi::xml_node> numbers = findAllPageNumberShapes(root);
    timer.finish("find the page numbers");
    for (size_t page = 0; page < numbers.size(); ++page)
        setPageNumberText(numbers[page], static_cast<qsizetype>(page) + 1, pages);
    timer.finish("write the page numbers");
    package.save(folder.filePath(QStringLiteral("register.docx")), {});
    timer.finish("serialise and pack");
    NullWriter nowhere;
    root.print(nowhere, " ");
    timer.finish("(serialise, again, to nowhere)");
}

void measureParser() {
    const QString text = recipientsText(680'000);
    std::printf("a text of %.0f MB\n", static_cast<double>(text.toUtf8().size()) / 1e6);
    PhaseTimer timer;
    const QList<ParsedAddress> addresses = parseAddresses(text);
    timer.finish("parse the addresses");
    skippedEntries(text);
    timer.finish("find the skipped entries");
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 1) {
        measureGeneration(1'000);
        measureGeneration(10'000);
        measureParser();
    }
    for (int i = 1; i < argc; ++i)
        measureGeneration(QByteArray(argv[i]).toLongLong());
}
