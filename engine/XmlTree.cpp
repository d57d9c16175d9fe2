#include "engine/XmlTree.h"

#include "engine/EngineError.h"
#include "engine/Whitespace.h"

#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <cstdlib>
#include <cstring>
#include <new>

namespace kopertal {
namespace {

/// Visits the elements at and below `top` in document order; those below one for which `visit`
/// returns false are passed over. Iterative: depth costs no stack.
template <typename Visit>
void walkElements(pugi::xml_node top, Visit visit) {
    pugi::xml_node node = top;
    while (node) {
        const bool enter = node.type() == pugi::node_element && visit(node);
        if (enter && node.first_child()) {
            node = node.first_child();
            continue;
        }
        while (node && node != top && !node.next_sibling())
            node = node.parent();
        if (node == top)
            return;
        node = node.next_sibling();
    }
}

/// Whether the reader has met the end of a document that is sound up to there and lacks its root.
bool lacksRootElement(QXmlStreamReader& reader) {
    if (reader.error() != QXmlStreamReader::PrematureEndOfDocumentError)
        return false;
    reader.addData(QByteArrayLiteral("<root/>"));
    while (!reader.atEnd())
        reader.readNext();
    return !reader.hasError();
}

/// The writer's own copying of tokens drops prefixes, for namespaces are not processed here, and
/// whether the document stands alone.
void copyToken(const QXmlStreamReader& reader, QXmlStreamWriter& writer) {
    switch (reader.tokenType()) {
    case QXmlStreamReader::StartDocument:
        if (reader.isStandaloneDocument())
            writer.writeStartDocument(QStringLiteral("1.0"), true);
        else
            writer.writeStartDocument();
        break;
    case QXmlStreamReader::StartElement:
        writer.writeStartElement(reader.qualifiedName().toString());
        for (const QXmlStreamAttribute& attribute : reader.attributes())
            writer.writeAttribute(attribute.qualifiedName().toString(),
                                  attribute.value().toString());
        break;
    case QXmlStreamReader::DTD:
    case QXmlStreamReader::EntityReference: // only of an external entity
    case QXmlStreamReader::NoToken:
    case QXmlStreamReader::Invalid:
        break;
    default:
        writer.writeCurrentToken(reader);
    }
}

/// The document again, in UTF-8 and without a document type. The tree's parser is fast and lenient
/// (it takes two roots, equal attributes, bare ampersands) and knows no entities; this reader is
/// neither.
QByteArray soundXml(const QByteArray& bytes, const QString& name) {
    QByteArray result;
    QXmlStreamWriter writer(&result);
    QXmlStreamReader reader(bytes);
    reader.setNamespaceProcessing(false); // keeps qualified names and the order of attributes
    int depth = 0;
    bool hasRoot = false;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement()) {
            hasRoot = true;
            if (++depth > maxXmlDepth)
                reader.raiseError(QStringLiteral("Elements are nested too deeply."));
        } else if (reader.isEndElement()) {
            --depth;
        }
        copyToken(reader, writer);
    }
    if (!hasRoot && lacksRootElement(reader))
        throw EngineError::xmlParseError(QStringLiteral("Brak root element"));
    if (reader.hasError())
        throw FileError(name, QStringLiteral("%1 (%2:%3)")
                                  .arg(reader.errorString())
                                  .arg(reader.lineNumber())
                                  .arg(reader.columnNumber()));
    return result;
}

void* allocateOrThrow(size_t size) {
    if (void* memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

} // namespace

void parseXml(const QByteArray& bytes, const QString& name, pugi::xml_document& document) {
    // Without memory the library's changes would silently do nothing, and a register lack
    // recipients.
    pugi::set_memory_management_functions(allocateOrThrow, std::free);

    const QByteArray sound = soundXml(bytes, name);
    constexpr unsigned int options = pugi::parse_default | pugi::parse_ws_pcdata_single |
                                     pugi::parse_comments | pugi::parse_pi |
                                     pugi::parse_declaration;
    const pugi::xml_parse_result result = document.load_buffer(
        sound.constData(), static_cast<size_t>(sound.size()), options, pugi::encoding_utf8);
    if (!result)
        throw FileError(name, QString::fromUtf8(result.description()));
}

std::vector<pugi::xml_node> descendants(pugi::xml_node element, const char* name) {
    std::vector<pugi::xml_node> result;
    walkElements(element, [&](pugi::xml_node node) {
        if (std::strcmp(node.name(), name) == 0)
            result.push_back(node);
        return true;
    });
    return result;
}

std::vector<pugi::xml_node> descendantsOutside(pugi::xml_node element, const char* name,
                                               const char* excluded) {
    std::vector<pugi::xml_node> result;
    walkElements(element, [&](pugi::xml_node node) {
        if (std::strcmp(node.name(), excluded) == 0)
            return false;
        if (std::strcmp(node.name(), name) == 0)
            result.push_back(node);
        return true;
    });
    return result;
}

QString allText(pugi::xml_node element) {
    QByteArray text;
    for (const pugi::xml_node& run : descendants(element, "w:t")) {
        for (const pugi::xml_node& piece : run.children())
            text += piece.value();
    }
    return trimmedHorizontally(QString::fromUtf8(text)).toString();
}

} // namespace kopertal
