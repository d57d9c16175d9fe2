// Where the time of a generation goes, phase by phase, and what the parser needs for a large text.
// Usage: EnginePhases [RECIPIENTS]…

#include "engine/AddressParsing.h"
#include "engine/PageBatches.h"
#include "engine/RegisterPages.h"
#include "engine/TemplateLayout.h"
#include "engine/TemplatePackage.h"
#include "engine/TextFitting.h"
#include "engine/TextPlacement.h"

#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <sys/resource.h>
#include <vector>

using namespace kopertal;

namespace {

/// How long each phase took since the one before, all its turns together.
class PhaseTimer {
public:
    void finish(const char* phase) {
        const auto now = std::chrono::steady_clock::now();
        const auto known = std::ranges::find(m_phases, phase, &Phase::name);
        Phase& entry = known == m_phases.end() ? m_phases.emplace_back(Phase{phase, {}}) : *known;
        entry.took += now - m_start;
        m_start = std::chrono::steady_clock::now();
    }

    void print() const {
        for (const Phase& phase : m_phases)
            std::printf("  %-28s %9.1f ms\n", phase.name.c_str(), phase.took.count());
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        std::printf("  %-28s %9.1f MB\n", "(peak memory of the process)",
                    static_cast<double>(usage.ru_maxrss) / 1024);
    }

private:
    struct Phase {
        std::string name;
        std::chrono::duration<double, std::milli> took;
    };

    std::vector<Phase> m_phases;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

QString recipientsText(qsizetype count) {
    return QStringLiteral("Katarzyna Wiśniewska-Brzozowska\nul. Słoneczna 12 m. 34\n"
                          "00-950 Warszawa\n\n")
        .repeated(count);
}

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
    auto address = addresses.begin();
    qsizetype page = 0;
    PageBatches batches(root, pages);
    for (;;) {
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
        for (const TextboxGrid& grid : grids) {
            for (size_t row = 0; row < recipientsPerPage && address != addresses.end(); ++row) {
                setTextboxText(grid.nameShapes[row], {address->name},
                               fitFontSize({address->name}, 39.0, 9.2));
                setTextboxText(grid.addressShapes[row], address->lines,
                               fitFontSize(address->lines, 26.4, 9.2));
                ++address;
            }
        }
        timer.finish("fit and write the recipients");
        const std::vector<pugi::xml_node> numbers = findAllPageNumberShapes(root);
        timer.finish("find the page numbers");
        for (const pugi::xml_node& shape : numbers)
            setPageNumberText(shape, ++page, pages);
        timer.finish("write the page numbers");
        package.writeBody();
        timer.finish("serialise");
        if (!batches.hasNext())
            break;
        batches.next();
    }
    package.save(folder.filePath(QStringLiteral("register.docx")), {});
    timer.finish("pack");
    timer.print();
}

void measureParser() {
    const QString text = recipientsText(680'000);
    std::printf("a text of %.0f MB\n", static_cast<double>(text.toUtf8().size()) / 1e6);
    PhaseTimer timer;
    const QList<ParsedAddress> addresses = parseAddresses(text);
    timer.finish("parse the addresses");
    skippedEntries(text);
    timer.finish("find the skipped entries");
    timer.print();
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
