// Feeds hostile answers to the text functions and holds them against plain, slow ones. To be
// started with -dict=tests/tracking/SoapAnswerFuzz.dict and a folder of real answers, or it finds
// no tag.
#include "tracking/SoapAnswer.h"
#include "tracking/SoapText.h"

#include <QString>

#include <cstdlib>

using namespace kopertal;

namespace {

void check(bool condition) {
    if (!condition)
        std::abort();
}

QStringList plainBlocks(const QString& tag, QString xml) {
    QStringList blocks;
    for (;;) {
        const qsizetype begin = xml.indexOf(u'<' + tag);
        if (begin < 0)
            return blocks;
        xml = xml.sliced(begin);
        const QString closing = QStringLiteral("</") + tag + u'>';
        const qsizetype end = xml.indexOf(closing, tag.size() + 1);
        if (end < 0)
            return blocks;
        blocks << xml.first(end + closing.size());
        xml = xml.sliced(end + closing.size());
    }
}

void checkTag(const QString& tag, const QString& xml) {
    const QStringList expected = plainBlocks(tag, xml);
    const QList<QStringView> blocks = extractAllBlocks(tag, xml);
    check(blocks.size() == expected.size());
    for (qsizetype i = 0; i < blocks.size(); ++i)
        check(blocks[i] == expected[i]);
    const auto first = extractFirstBlock(tag, xml);
    check(first.has_value() == !expected.isEmpty());
    if (first) {
        check(*first == expected.first());
        check(withoutBlock(tag, *first, xml) == QString(xml).remove(expected.first()));
    }
    if (const auto content = extractTag(tag, xml)) {
        check(!content->isEmpty() && !content->contains(u'<'));
        check(xml.contains(u'>' + content->toString() + QStringLiteral("</") + tag + u'>'));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    const TrackingResult result = parseAnswer(bytes);
    const QString text = QString::fromUtf8(bytes);
    for (const char* tag : {"ax21:zdarzenie", "ax21:jednostka", "ax21:nazwa", "a"})
        checkTag(QString::fromLatin1(tag), text);
    check(result.events.isEmpty() || statusEvent(result.events));
    return 0;
}
