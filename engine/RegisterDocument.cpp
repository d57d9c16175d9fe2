#include "engine/RegisterDocument.h"

#include "engine/EngineError.h"
#include "engine/PageBatches.h"
#include "engine/RegisterPages.h"
#include "engine/TemplateLayout.h"
#include "engine/TemplatePackage.h"
#include "engine/TextFitting.h"
#include "engine/TextPlacement.h"
#include "engine/Whitespace.h"
#include "engine/XmlText.h"
#include "engine/XmlTree.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QLoggingCategory>

#include <algorithm>
#include <set>

namespace kopertal {
namespace {

Q_LOGGING_CATEGORY(engineLog, "kopertal.engine", QtWarningMsg)

// The boxes that texts are fitted to, in millimetres: less than the form's boxes measure, for the
// estimate takes characters for narrower than Polish text is.
constexpr double nameBoxWidthMM = 39.0;
constexpr double addressBoxWidthMM = 26.4;
constexpr double boxHeightMM = 9.2;

QString templatePath(const std::optional<QString>& templateURL) {
    if (!templateURL) {
        const QString resource(ownTemplate);
        if (!QFileInfo::exists(resource))
            throw EngineError::templateNotFound(QStringLiteral("kopertal.dotx"));
        return resource;
    }
    if (!QFileInfo::exists(*templateURL))
        throw EngineError::templateNotFound(*templateURL);
    return *templateURL;
}

void throwIfStopped(const std::stop_token& stop) {
    if (stop.stop_requested())
        throw Cancelled();
}

/// Filling a box removes what it held; a field in there would be gone when its turn comes.
void refuseNestedBoxes(pugi::xml_node root) {
    for (const pugi::xml_node& box : descendants(root, "wps:txbx")) {
        if (!descendants(box, "wps:wsp").empty())
            throw EngineError::xmlParseError(
                QStringLiteral("pole szablonu leży w innym polu tekstowym"));
    }
}

/// Of two recipients with one box only the later would stand in the register.
void refuseSharedBoxes(pugi::xml_node root) {
    std::set<pugi::xml_node> seen;
    const auto isShared = [&](pugi::xml_node shape) {
        const pugi::xml_node content = textBoxContent(shape);
        return content && !seen.insert(content).second;
    };
    for (const TextboxGrid& grid : findAllTextboxGrids(root)) {
        if (std::ranges::any_of(grid.nameShapes, isShared) ||
            std::ranges::any_of(grid.addressShapes, isShared))
            throw EngineError::xmlParseError(
                QStringLiteral("adresaci mają w szablonie wspólne pola tekstowe"));
    }
}

/// A text that is no list of addresses must not be made into one at the cost of all memory.
void refuseUnreasonable(const QList<ParsedAddress>& addresses) {
    if (addresses.size() > maxRecipients)
        throw FileError(
            QStringLiteral("Za dużo adresatów"),
            QStringLiteral("%1, a najwyżej %2").arg(addresses.size()).arg(maxRecipients));
    for (const ParsedAddress& address : addresses) {
        if (address.lines.size() > maxAddressLines)
            throw FileError(QStringLiteral("Za długi adres"), QStringLiteral("%1, wierszy: %2")
                                                                  .arg(address.name.left(60))
                                                                  .arg(address.lines.size()));
    }
}

void writeSender(pugi::xml_node root, const QString& senderName, const QString& senderAddress) {
    const auto printed = [](const QString& text) {
        return trimmedHorizontally(xmlSafe(text)).toString();
    };
    const QString name = printed(senderName);
    const QString address = printed(senderAddress);
    for (const SenderShapePair& pair : findAllSenderShapePairs(root)) {
        if (!name.isEmpty())
            setSenderText(pair.nameShape, name);
        if (!address.isEmpty())
            setSenderText(pair.addressShape, address);
    }
}

bool writeFitted(pugi::xml_node shape, const QStringList& lines, double widthMM) {
    return setTextboxText(shape, lines, fitFontSize(lines, widthMM, boxHeightMM));
}

/// A grid that lacks a row for a recipient is refused: a register without one of its letters must
/// not pass unnoticed. Returns how many of them have both their boxes.
qsizetype writeRecipients(const TextboxGrid& grid, QList<ParsedAddress>::const_iterator first,
                          qsizetype count) {
    const size_t rows = std::min(grid.nameShapes.size(), grid.addressShapes.size());
    if (rows < static_cast<size_t>(count))
        throw EngineError::xmlParseError(
            QStringLiteral("siatka adresatów nie ma dziesięciu wierszy"));
    qsizetype placed = 0;
    for (size_t row = 0; row < static_cast<size_t>(count); ++row, ++first) {
        const bool hasName = writeFitted(grid.nameShapes[row], {first->name}, nameBoxWidthMM);
        const bool hasAddress =
            writeFitted(grid.addressShapes[row], first->lines, addressBoxWidthMM);
        if (hasName && hasAddress)
            ++placed;
    }
    return placed;
}

} // namespace

qsizetype fillTemplate(const QList<ParsedAddress>& addresses,
                       const std::optional<QString>& templateURL, const QString& outputURL,
                       const QString& senderName, const QString& senderAddress,
                       const std::stop_token& stop) {
    QElapsedTimer timer;
    timer.start();
    refuseUnreasonable(addresses);
    TemplatePackage package(templatePath(templateURL));
    const pugi::xml_node root = package.root();
    refuseNestedBoxes(root);
    refuseSharedBoxes(root);
    throwIfStopped(stop);
    const qsizetype pages = pageCount(addresses.size());
    qsizetype next = 0;
    qsizetype placed = 0;
    qsizetype page = 0;
    PageBatches batches(root, pages);
    for (;;) {
        throwIfStopped(stop);
        writeSender(root, senderName, senderAddress);
        for (const TextboxGrid& grid : findAllTextboxGrids(root)) {
            const qsizetype count = std::min(recipientsPerPage, addresses.size() - next);
            if (count <= 0)
                break;
            placed += writeRecipients(grid, addresses.begin() + next, count);
            next += count;
        }
        for (const pugi::xml_node& shape : findAllPageNumberShapes(root))
            setPageNumberText(shape, ++page, pages);
        if (!batches.hasNext())
            break;
        package.writeBody();
        batches.next();
    }
    const qint64 fillingTime = timer.elapsed();

    package.save(outputURL, stop);
    qCInfo(engineLog,
           "dokument gotowy: adresatów %lld, stron %lld; wypełnianie %lld ms, razem %lld ms",
           static_cast<qint64>(placed), static_cast<qint64>(pages), fillingTime, timer.elapsed());
    return placed;
}

} // namespace kopertal
