#pragma once

#include <QString>

#include <vector>

namespace kopertal {

/// Throws PrintError for what cannot be read as a PDF file.
int pdfPageCount(const QString& pdf);

/// Pages of a file, counted from 0.
struct PdfPart {
    QString pdf;
    std::vector<int> pages;
};

/// Writes the parts' pages into a new file, in that order. Throws PrintError.
void joinPdfPages(const std::vector<PdfPart>& parts, const QString& output);

} // namespace kopertal
