#include "tests/fuzz/FuzzTarget.h"
#include "tracking/SoapAnswer.h"
#include "tracking/SoapText.h"

#include <QRegularExpression>

using namespace kopertal;

namespace {

/// As extractAllBlocks(), but plain and slow.
QStringList plainBlocks(const QString& tag, const QString& xml) {
    const QRegularExpression block("<" + tag + ".*?</" + tag + ">",
                                   QRegularExpression::DotMatchesEverythingOption);
    QStringList blocks;
    for (const QRegularExpressionMatch& match : block.globalMatch(xml))
        blocks << match.captured();
    return blocks;
}

void checkTag(const QString& tag, const QString& xml) {
    const QStringList expected = plainBlocks(tag, xml);
    const QList<QStringView> blocks = extractAllBlocks(tag, xml);
    require(std::equal(blocks.begin(), blocks.end(), expected.begin(), expected.end()),
            "all blocks are found, and no other");
    const auto first = extractFirstBlock(tag, xml);
    require(first.value_or(u"") == expected.value(0), "the first block is the first");
    if (first)
        require(withoutBlock(tag, *first, xml) == QString(xml).remove(expected.first()),
                "only the block is taken away");
    if (const auto content = extractTag(tag, xml)) {
        require(!content->isEmpty() && !content->contains(u'<'), "a content is a text");
        require(xml.contains(u'>' + content->toString() + QStringLiteral("</") + tag + u'>'),
                "it stands in its element");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    const TrackingResult result = parseAnswer(bytes);
    require(result.events.isEmpty() || statusEvent(result.events),
            "among events there is the one that tells the status");
    const QString text = QString::fromUtf8(bytes);
    for (const char* tag : {"ax21:zdarzenie", "ax21:jednostka", "ax21:nazwa", "a"})
        checkTag(QString::fromLatin1(tag), text);
    return 0;
}
