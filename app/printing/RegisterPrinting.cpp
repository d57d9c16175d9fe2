#include "app/printing/RegisterPrinting.h"

#include "app/printing/PdfPages.h"
#include "app/printing/PrintError.h"
#include "app/printing/Printers.h"
#include "app/printing/RegisterPieces.h"
#include "app/printing/Rendering.h"
#include "engine/EngineError.h"

#include <QFileInfo>

#include <algorithm>
#include <exception>
#include <new>

namespace kopertal {
namespace {

void refuseMissing(const QString& document) {
    if (!QFileInfo(document).isFile())
        throw PrintError(
            QStringLiteral("Dokumentu już nie ma w folderze zapisu: %1").arg(document));
}

void refuseMissingPages(const PrintOrder& order, int count) {
    const QString refusal = pageRangesRefusal(order.pages, count);
    if (!refusal.isEmpty())
        throw PrintError(refusal);
}

/// The pieces of one document on their way to the printer.
class Rendered {
public:
    explicit Rendered(const PrintOrder& order)
        : m_pieces(order.document), m_pages(static_cast<size_t>(m_pieces.count()), 0) {
        if (m_pieces.pages() > 0)
            refuseMissingPages(order, m_pieces.pages());
    }

    /// Makes a PDF file of the chosen pages and returns how many they are.
    int write(const PrintOrder& order, const QString& output, const PrintProgress& progress,
              const std::stop_token& stop) {
        std::vector<bool> isNeeded(m_pages.size(), m_pieces.pages() == 0);
        for (const int page : chosenPages(order.pages, m_pieces.pages()))
            isNeeded[static_cast<size_t>(page / pagesPerPiece)] = true;
        render(isNeeded, progress, stop);
        if (!hasPagesAsCut()) {
            // Texts that the user has made longer flow over to other pages: only all pieces tell
            // which page is which.
            render(std::vector<bool>(m_pages.size(), true), progress, stop);
        }
        const std::vector<PdfPart> parts = chosenParts(order);
        joinPdfPages(parts, output);
        int count = 0;
        for (const PdfPart& part : parts)
            count += static_cast<int>(part.pages.size());
        return count;
    }

private:
    QString document(size_t piece) const {
        return m_folder.filePath(QStringLiteral("strony-%1.docx").arg(piece));
    }

    void render(const std::vector<bool>& isNeeded, const PrintProgress& progress,
                const std::stop_token& stop) {
        QStringList documents;
        std::vector<size_t> pieces;
        int needed = 0;
        for (size_t piece = 0; piece < m_pages.size(); ++piece) {
            if (!isNeeded[piece] || m_pages[piece] > 0)
                continue;
            pieces.push_back(piece);
            documents += document(piece);
            needed += m_pieces.pagesOf(static_cast<int>(piece));
        }
        if (documents.isEmpty())
            return;
        progress(0, needed);
        for (const size_t piece : pieces)
            m_pieces.write(static_cast<int>(piece), document(piece), stop);
        const auto report = [&](int done) {
            progress(std::min(done * pagesPerPiece, needed), needed);
        };
        renderDocuments(documents, m_folder.path(), report, stop);
        for (const size_t piece : pieces)
            m_pages[piece] = pdfPageCount(renderedPath(document(piece)));
    }

    bool hasPagesAsCut() const {
        for (size_t piece = 0; piece < m_pages.size(); ++piece) {
            if (m_pages[piece] > 0 && m_pages[piece] != expected(piece))
                return false;
        }
        return true;
    }

    int expected(size_t piece) const { return m_pieces.pagesOf(static_cast<int>(piece)); }

    /// Pieces that are not needed count with the pages that they were cut to.
    std::vector<PdfPart> chosenParts(const PrintOrder& order) const {
        std::vector<int> firsts;
        int count = 0;
        for (size_t piece = 0; piece < m_pages.size(); ++piece) {
            firsts.push_back(count);
            count += m_pages[piece] > 0 ? m_pages[piece] : expected(piece);
        }
        refuseMissingPages(order, count);
        std::vector<PdfPart> parts;
        size_t piece = m_pages.size();
        for (const int page : chosenPages(order.pages, count)) {
            const auto owner =
                static_cast<size_t>(std::ranges::upper_bound(firsts, page) - firsts.begin() - 1);
            if (parts.empty() || owner != piece)
                parts.push_back({renderedPath(document(owner)), {}});
            piece = owner;
            parts.back().pages.push_back(page - firsts[owner]);
        }
        return parts;
    }

    RegisterPieces m_pieces;
    WorkFolder m_folder;
    std::vector<int> m_pages; // of each piece, once it is rendered
};

/// Runs `work`; what it throws becomes the result's `error` or `isStopped`.
template <typename Result, typename Work>
Result guarded(const Work& work) {
    Result result;
    try {
        work(result);
    } catch (const Cancelled&) {
        result.isStopped = true;
    } catch (const FileError& error) {
        // The document's own failures are PrintErrors: this is of the program's copies of it.
        result.error = QString::fromUtf8(
            temporaryFolderError(QString::fromUtf8(error.what()).section(QStringLiteral(": "), -1))
                .what());
    } catch (const std::bad_alloc&) {
        result.error = QStringLiteral("Za mało pamięci.");
    } catch (const std::exception& error) {
        result.error = QString::fromUtf8(error.what());
    }
    return result;
}

} // namespace

PrintSetup RegisterPrinting::lookUp(const QString& document, const std::stop_token& stop) {
    const auto work = [&](PrintSetup& setup) {
        refuseMissing(document);
        findWordProcessor();
        const Printers printers = findPrinters(stop);
        setup.printers = printers.names;
        setup.preferredPrinter = printers.preferred;
        setup.pages = RegisterPieces(document).pages();
    };
    return guarded<PrintSetup>(work);
}

PrintResult RegisterPrinting::print(const PrintOrder& order, const PrintProgress& progress,
                                    const std::stop_token& stop) {
    const auto work = [&](PrintResult& result) {
        refuseMissing(order.document);
        const WorkFolder folder;
        const QString pdf = folder.filePath(QStringLiteral("wydruk.pdf"));
        const int pages = Rendered(order).write(order, pdf, progress, stop);
        sendToPrinter(pdf, QFileInfo(order.document).fileName(), order, stop);
        result.pages = pages;
    };
    return guarded<PrintResult>(work);
}

} // namespace kopertal
