#pragma once

#include "engine/WorkFolder.h"

#include <QString>
#include <pugixml.hpp>

#include <stop_token>

namespace kopertal {

/// A template unpacked into a work folder of its own, with its main document as a tree. The folder
/// goes with this object. Every failure is a FileError, but for a main document without a root
/// element (EngineError).
class TemplatePackage {
public:
    /// Unpacks and parses. The template is not trusted: see unzipItem() and parseXml().
    explicit TemplatePackage(const QString& templatePath);

    pugi::xml_node root() const { return m_document.document_element(); }

    /// Writes the tree back, makes the template a document by its content type and packs it all
    /// into `outputPath`, in place of the file or folder there.
    void save(const QString& outputPath, const std::stop_token& stop);

private:
    void writeMainDocument();
    void convertContentTypes();

    WorkFolder m_folder;
    pugi::xml_document m_document;
};

} // namespace kopertal
