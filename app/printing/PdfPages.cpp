#include "app/printing/PdfPages.h"

#include "app/printing/PrintError.h"

#include <QFile>
#include <QFileInfo>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFWriter.hh>

#include <exception>
#include <memory>

namespace kopertal {
namespace {

template <typename Work>
auto told(const QString& pdf, const Work& work) {
    try {
        return work();
    } catch (const std::exception& error) {
        throw workError(QStringLiteral("Nie można złożyć stron do druku. Spróbuj jeszcze raz."),
                        QString::fromLocal8Bit(error.what()), QFileInfo(pdf).path());
    }
}

std::unique_ptr<QPDF> opened(const QString& pdf) {
    auto document = std::make_unique<QPDF>();
    document->setSuppressWarnings(true);
    document->processFile(QFile::encodeName(pdf).constData());
    return document;
}

} // namespace

int pdfPageCount(const QString& pdf) {
    return told(pdf, [&] { return static_cast<int>(opened(pdf)->getAllPages().size()); });
}

void joinPdfPages(const std::vector<PdfPart>& parts, const QString& output) {
    told(output, [&] {
        std::vector<std::unique_ptr<QPDF>> sources; // read from until all is written
        QPDF joined;
        joined.emptyPDF();
        QPDFPageDocumentHelper target(joined);
        for (const PdfPart& part : parts) {
            sources.push_back(opened(part.pdf));
            const auto pages = QPDFPageDocumentHelper(*sources.back()).getAllPages();
            for (const int page : part.pages)
                target.addPage(pages.at(static_cast<size_t>(page)), false);
        }
        QPDFWriter(joined, QFile::encodeName(output).constData()).write();
    });
}

} // namespace kopertal
