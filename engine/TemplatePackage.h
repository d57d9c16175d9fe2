#pragma once

#include "engine/NewFile.h"
#include "engine/WorkFolder.h"

#include <QByteArray>
#include <QString>
#include <pugixml.hpp>

#include <optional>
#include <stop_token>

namespace kopertal {

/// A serialised document before and after the content of its body.
struct BodyFrame {
    QByteArray before;
    QByteArray after;
};

/// A template unpacked into a work folder of its own, with its main document as a tree. The folder
/// goes with this object. Every failure is a FileError, but for a main document without a root
/// element (EngineError).
class TemplatePackage {
public:
    /// Unpacks and parses. The template is not trusted: see unzipItem() and parseXml().
    explicit TemplatePackage(const QString& templatePath);

    pugi::xml_node root() const { return m_document.document_element(); }

    /// Takes what the document's body holds out of the tree: it is written, in a document that is
    /// otherwise as it was parsed. What the body gets then comes behind it. Without a body nothing
    /// happens.
    void writeBody();

    /// Writes what is left, the whole tree where nothing has been written, makes the template a
    /// document by its content type and packs it all into `outputPath`, in place of the file or
    /// folder there.
    void save(const QString& outputPath, const std::stop_token& stop);

private:
    void convertContentTypes();

    WorkFolder m_folder;
    pugi::xml_document m_document;
    std::optional<NewFile> m_mainDocument;
    BodyFrame m_frame;      // as parsed
    bool m_isBegun = false; // the frame's first half is written
};

} // namespace kopertal
