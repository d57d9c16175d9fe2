#pragma once

#include "engine/WorkFolder.h"

#include <QByteArray>
#include <QFile>
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

    /// Takes what the document's body holds out of the tree: it is written. What the body gets
    /// then comes behind it. The rest of the tree stays as it was parsed.
    void writeBody();

    /// Writes what is left, makes the template a document by its content type and packs it all
    /// into `outputPath`, in place of the file or folder there.
    void save(const QString& outputPath, const std::stop_token& stop);

private:
    void convertContentTypes();

    WorkFolder m_folder;
    pugi::xml_document m_document;
    QFile m_mainDocument;
    QByteArray m_afterBody; // the end of the main document
};

} // namespace kopertal
