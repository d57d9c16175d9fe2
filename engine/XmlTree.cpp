#include "engine/XmlTree.h"

#include "engine/EngineError.h"
#include "engine/Whitespace.h"

#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <cstdlib>
#include <limits>
#include <new>
#include <utility>

namespace kopertal {
namespace {

/// Collects the elements of one name, without those below an element of another. The library's own
/// traversal is iterative, so depth costs no stack, and several times as fast as one from outside.
class Collector : public pugi::xml_tree_walker {
public:
    Collector(const char* name, const char* excluded) : m_name(name), m_excluded(excluded) {}

    bool begin(pugi::xml_node& node) override {
        take(node);
        return true;
    }

    bool for_each(pugi::xml_node& node) override {
        if (depth() > m_excludedDepth)
            return true;
        m_excludedDepth = none;
        take(node);
        return true;
    }

    std::vector<pugi::xml_node> found;

private:
    void take(pugi::xml_node node) {
        if (isElement(node, m_name))
            found.push_back(node);
        else if (m_excluded && isElement(node, m_excluded))
            m_excludedDepth = depth();
    }

    static constexpr int none = std::numeric_limits<int>::max();

    const char* m_name;
    const char* m_excluded;
    int m_excludedDepth = none;
};

std::vector<pugi::xml_node> collect(pugi::xml_node element, const char* name,
                                    const char* excluded) {
    Collector collector(name, excluded);
    element.traverse(collector);
    return std::move(collector.found);
}

/// Whether a tag may hold more attributes than an element of a form ever does, for which the
/// reader's time is quadratic: "<" cannot stand in an attribute, and each has a "=".
bool hasOverfullTag(const QByteArray& bytes) {
    constexpr int maxAttributes = 1024;
    int equalSigns = 0;
    for (const char c : bytes) {
        equalSigns = c == '<' ? 0 : equalSigns + (c == '=' ? 1 : 0);
        if (equalSigns > maxAttributes)
            return true;
    }
    return false;
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
    if (bytes.size() > maxXmlBytes)
        throw FileError(name, QStringLiteral("dokument jest za duży"));
    if (hasOverfullTag(bytes))
        throw FileError(name, QStringLiteral("znacznik ma za dużo atrybutów"));
    QByteArray result;
    QXmlStreamWriter writer(&result);
    QXmlStreamReader reader(bytes);
    reader.setNamespaceProcessing(false); // keeps qualified names and the order of attributes
    // The reader lets each reference become 4096 characters, and collects a text of any length.
    constexpr qsizetype maxReferences = 4096;
    int depth = 0;
    bool hasRoot = false;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement()) {
            hasRoot = true;
            if (++depth > maxXmlDepth)
                reader.raiseError(QStringLiteral("elementy są zagnieżdżone za głęboko"));
        } else if (reader.isEndElement()) {
            --depth;
        } else if (reader.isDTD() && !reader.entityDeclarations().isEmpty() &&
                   bytes.count('&') > maxReferences) {
            reader.raiseError(QStringLiteral("za dużo odwołań do encji"));
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
    [[maybe_unused]] static const bool isSet =
        (pugi::set_memory_management_functions(allocateOrThrow, std::free), true);

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
    return collect(element, name, nullptr);
}

std::vector<pugi::xml_node> descendantsOutside(pugi::xml_node element, const char* name,
                                               const char* excluded) {
    return collect(element, name, excluded);
}

QString allText(pugi::xml_node element) {
    QByteArray text;
    for (const pugi::xml_node& run : descendants(element, "w:t")) {
        for (const pugi::xml_node& piece : run.children()) {
            if (piece.type() == pugi::node_pcdata || piece.type() == pugi::node_cdata)
                text += piece.value();
        }
    }
    return trimmedHorizontally(QString::fromUtf8(text)).toString();
}

} // namespace kopertal
