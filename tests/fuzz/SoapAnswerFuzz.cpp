#include "tests/fuzz/FuzzTarget.h"
#include "tracking/SoapAnswer.h"
#include "tracking/SoapText.h"

#include <QRegularExpression>

using namespace kopertal;

namespace {

/// Compares with a plain and slow search.
void checkTag(const QString& tag, const QString& xml) {
    const QRegularExpression block("<" + tag + ".*?</" + tag + ">",
                                   QRegularExpression::DotMatchesEverythingOption);
    QStringList expected;
    for (const QRegularExpressionMatch& match : block.globalMatch(xml))
        expected << match.captured();
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

void feed(QByteArrayView input) {
    const TrackingResult result = parseAnswer(input);
    require(result.events.isEmpty() || statusEvent(result.events),
            "among events there is the one that tells the status");
    for (const char* tag : {"ax21:zdarzenie", "ax21:jednostka", "ax21:nazwa", "a"})
        checkTag(QString::fromLatin1(tag), QString::fromUtf8(input));
}
