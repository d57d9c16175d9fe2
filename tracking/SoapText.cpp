#include "tracking/SoapText.h"

#include <QString>
#include <QStringBuilder>

namespace kopertal {
namespace {

QString openingPrefix(QStringView tag) {
    return u'<' % tag;
}

QString closingTag(QStringView tag) {
    return u"</" % tag % u'>';
}

/// The first element from `start` on.
std::optional<QStringView> blockFrom(qsizetype start, const QString& prefix, const QString& closing,
                                     QStringView xml) {
    const qsizetype begin = xml.indexOf(prefix, start);
    if (begin < 0)
        return std::nullopt;
    const qsizetype close = xml.indexOf(closing, begin + prefix.size());
    if (close < 0)
        return std::nullopt;
    return xml.sliced(begin, close + closing.size() - begin);
}

} // namespace

std::optional<QStringView> extractTag(QStringView tag, QStringView xml) {
    const QString prefix = openingPrefix(tag);
    const qsizetype begin = xml.indexOf(prefix);
    if (begin < 0)
        return std::nullopt;
    const qsizetype attributes = begin + prefix.size();
    const qsizetype opened = xml.indexOf(u'>', attributes);
    if (opened < 0 || xml.sliced(attributes, opened - attributes).contains(u"xsi:nil=\"true\""))
        return std::nullopt;
    const qsizetype close = xml.indexOf(closingTag(tag), opened + 1);
    if (close < 0)
        return std::nullopt;
    const QStringView content = xml.sliced(opened + 1, close - opened - 1);
    if (content.isEmpty() || content.contains(u'<'))
        return std::nullopt;
    return content;
}

std::optional<QStringView> extractFirstBlock(QStringView tag, QStringView xml) {
    return blockFrom(0, openingPrefix(tag), closingTag(tag), xml);
}

QList<QStringView> extractAllBlocks(QStringView tag, QStringView xml) {
    const QString prefix = openingPrefix(tag);
    const QString closing = closingTag(tag);
    QList<QStringView> blocks;
    qsizetype next = 0;
    while (const auto block = blockFrom(next, prefix, closing, xml)) {
        blocks.append(*block);
        next = block->data() + block->size() - xml.data();
    }
    return blocks;
}

QString withoutBlock(QStringView tag, QStringView block, QStringView xml) {
    const QString closing = closingTag(tag);
    QString rest;
    qsizetype copied = 0;   // what lies before is in `rest` or removed
    qsizetype previous = 0; // the end of the last closing tag
    // The block holds one closing tag, its end. So an occurrence ends at a closing tag and starts
    // after the one before: each part of the text is compared at most once.
    for (qsizetype close; (close = xml.indexOf(closing, previous)) >= 0;) {
        const qsizetype end = close + closing.size();
        const qsizetype begin = end - block.size();
        if (begin >= previous && xml.sliced(begin, block.size()) == block) {
            rest += xml.sliced(copied, begin - copied);
            copied = end;
        }
        previous = end;
    }
    return rest += xml.sliced(copied);
}

} // namespace kopertal
