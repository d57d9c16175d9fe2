#include "app/tracking/ShipmentDetails.h"

#include "app/common/Theme.h"
#include "app/tracking/ShownText.h"
#include "ui/Fonts.h"
#include "ui/Labels.h"
#include "ui/MorvikTheme.h"
#include "ui/Tones.h"

#include <QElapsedTimer>
#include <QPainter>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextLayout>
#include <QTimerEvent>

#include <cmath>
#include <utility>

namespace kopertal {
namespace {

namespace Tones = morvik::Tones;

constexpr int padding = 16;
constexpr int idealWidth = 320;
constexpr int labelWidth = 90;
constexpr int labelGap = 8;
constexpr int detailGap = 9;
constexpr int numberGap = 4;
constexpr int historyGap = 5;
constexpr int dotColumn = 12;
constexpr int dotGap = 8;
constexpr double dotSize = 8;
constexpr double lineGap = 3; // between dots and the line that joins them
constexpr int eventGap = 12;
constexpr int timeGap = 3;
constexpr int placeGap = 6;
constexpr qint64 writingTime = 8; // milliseconds at a time: half a frame

/// What is painted beside a block.
enum BlockMark { dividerMark = 1, eventMark, finalEventMark };

QTextCharFormat charFormat(const QFont& font, const QColor& ink) {
    QTextCharFormat format;
    format.setFont(font);
    format.setForeground(ink);
    return format;
}

QTextBlockFormat blockFormat(int topMargin, int leftMargin = 0) {
    QTextBlockFormat format;
    format.setTopMargin(topMargin);
    format.setLeftMargin(leftMargin);
    return format;
}

/// A space of `width` pixels.
void insertSpace(QTextCursor& cursor, const QFont& font, int width) {
    QTextCharFormat format = charFormat(font, Theme::textMuted);
    format.setFontLetterSpacingType(QFont::AbsoluteSpacing);
    format.setFontLetterSpacing(width - QFontMetricsF(font).horizontalAdvance(u' '));
    cursor.insertText(QStringLiteral(" "), format);
}

} // namespace

ShipmentDetails::ShipmentDetails(QWidget* parent) : QTextEdit(parent) {
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setFrameShape(QFrame::NoFrame);
    setTabChangesFocus(true);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    morvik::setGround(this, Tones::field); // beside the scroll bar too
    setAccessibleName(QStringLiteral("Szczegóły przesyłki"));
    document()->setDocumentMargin(padding);
    document()->setUndoRedoEnabled(false);
}

QSize ShipmentDetails::sizeHint() const {
    return {morvik::textPixels(idealWidth), QTextEdit::sizeHint().height()};
}

void ShipmentDetails::showRow(const TrackingRow& row) {
    if (m_row == row)
        return;
    const bool isSame = m_row && m_row->id() == row.id();
    const int scrolled = isSame ? verticalScrollBar()->value() : 0;
    m_row = row;
    if (m_writing != 0)
        killTimer(std::exchange(m_writing, 0));
    m_writtenEvents = 0;
    document()->clear();
    m_end = QTextCursor(document());
    writeHead();
    // Else it stands where the text has pushed it, and the first showing scrolls there.
    setTextCursor(QTextCursor(document()));
    writeEvents();
    verticalScrollBar()->setValue(scrolled);
}

void ShipmentDetails::writeHead() {
    m_end.beginEditBlock();
    m_end.setBlockFormat(blockFormat(0));
    m_end.insertText(QStringLiteral("Szczegóły przesyłki"),
                     charFormat(morvik::headlineFont(), Theme::textMain));
    m_end.insertBlock(blockFormat(numberGap));
    m_end.insertText(shownText(m_row->trackingNumber),
                     charFormat(morvik::monoFont(12), Theme::textMain));
    writeDivider();
    writeDetail(QStringLiteral("Status"), m_row->status, statusInk(statusColor(m_row->status)),
                true);
    if (m_row->zakonczonoObsluge)
        writeDetail(QStringLiteral("Obsługa"), QStringLiteral("Zakończona"), Theme::success, false);
    writeDetail(QStringLiteral("Rodzaj"), m_row->rodzajPrzesylki, Theme::textMain, false);
    if (!m_row->masa.isEmpty())
        writeDetail(QStringLiteral("Masa"), m_row->masa + QStringLiteral(" kg"), Theme::textMain,
                    false);
    writeDetail(QStringLiteral("Data nadania"), m_row->dataNadaniaAPI, Theme::textMain, false);
    writeDetail(QStringLiteral("Urząd nadania"), m_row->urzadNadania, Theme::textMain, false);
    writeDetail(QStringLiteral("Urząd docelowy"), m_row->urzadPrzeznaczenia, Theme::textMain,
                false);
    if (!m_row->events().isEmpty()) {
        writeDivider();
        m_end.insertBlock(blockFormat(historyGap));
        m_end.insertText(QStringLiteral("Historia zdarzeń"),
                         charFormat(morvik::paneTitleFont(), Theme::primary));
    }
    m_end.endEditBlock();
}

/// The value hangs beside the label, further lines of it too.
void ShipmentDetails::writeDetail(const QString& label, const QString& value, const QColor& ink,
                                  bool isBold) {
    const int valueLeft = morvik::textPixels(labelWidth) + labelGap;
    QTextBlockFormat format = blockFormat(detailGap, valueLeft);
    format.setTextIndent(-valueLeft);
    format.setTabPositions({QTextOption::Tab(valueLeft, QTextOption::LeftTab)});
    m_end.insertBlock(format);
    m_end.insertText(label + u'\t', charFormat(morvik::uiFont(11), Theme::textMuted));
    m_end.insertText(shownTextOrDash(value),
                     charFormat(morvik::uiFont(12, isBold ? QFont::DemiBold : QFont::Normal), ink));
}

void ShipmentDetails::writeDivider() {
    QTextBlockFormat format = blockFormat(0);
    format.setLineHeight(24, QTextBlockFormat::FixedHeight);
    m_end.insertBlock(format, charFormat(morvik::uiFont(10), Theme::textMuted));
    m_end.block().setUserState(dividerMark);
}

void ShipmentDetails::writeEvent(const TrackingEvent& event) {
    constexpr int left = dotColumn + dotGap;
    m_end.insertBlock(blockFormat(eventGap, left));
    m_end.block().setUserState(event.isFinal ? finalEventMark : eventMark);
    m_end.insertText(shownText(event.name),
                     event.isFinal ? charFormat(morvik::uiFont(12, QFont::DemiBold), Theme::success)
                                   : charFormat(morvik::uiFont(12), Theme::textMain));
    m_end.insertBlock(blockFormat(timeGap, left));
    m_end.insertText(shownText(event.time), charFormat(morvik::monoFont(10), Theme::textMuted));
    if (!event.place.isEmpty()) {
        insertSpace(m_end, morvik::uiFont(10), placeGap);
        m_end.insertText(shownText(event.place), charFormat(morvik::uiFont(10), Theme::textMuted));
    }
}

void ShipmentDetails::writeEvents() {
    QElapsedTimer clock;
    clock.start();
    m_end.beginEditBlock();
    while (m_writtenEvents < m_row->events().size() && clock.elapsed() < writingTime)
        writeEvent(m_row->events()[m_writtenEvents++]);
    m_end.endEditBlock();
    const bool isDone = m_writtenEvents == m_row->events().size();
    if (isDone && m_writing != 0) {
        killTimer(std::exchange(m_writing, 0));
        viewport()->update(); // marks that were looked for before the text was laid out
    } else if (!isDone && m_writing == 0) {
        m_writing = startTimer(0);
    }
}

void ShipmentDetails::timerEvent(QTimerEvent* event) {
    if (event->timerId() == m_writing)
        writeEvents();
    else
        QTextEdit::timerEvent(event);
}

void ShipmentDetails::paintEvent(QPaintEvent* event) {
    QTextEdit::paintEvent(event);
    QPainter painter(viewport());
    painter.setRenderHint(QPainter::Antialiasing);
    QTextBlock block = cursorForPosition({0, event->rect().top()}).block();
    for (int before = 0; before < 2 && block.previous().isValid(); ++before)
        block = block.previous(); // whose line may reach down to here
    for (; block.isValid() && firstLineMiddle(block) < event->rect().bottom() + dotSize;
         block = block.next())
        paintMark(painter, block);
}

/// In the viewport.
double ShipmentDetails::firstLineMiddle(const QTextBlock& block) const {
    const QTextLayout& layout = *block.layout();
    const double line =
        layout.lineCount() > 0 ? layout.lineAt(0).y() + layout.lineAt(0).height() / 2 : 0;
    return layout.position().y() + line - verticalScrollBar()->value();
}

void ShipmentDetails::paintMark(QPainter& painter, const QTextBlock& block) const {
    const int mark = block.userState();
    const double y = std::round(firstLineMiddle(block));
    if (mark == dividerMark)
        painter.fillRect(QRectF(padding, y, viewport()->width() - 2 * padding, 1), Tones::border);
    if (mark != eventMark && mark != finalEventMark)
        return;
    const QPointF dot(padding + dotColumn / 2.0, y);
    const bool isFinal = mark == finalEventMark;
    painter.setPen(QPen(isFinal ? Theme::success : morvik::MorvikTheme::Colors::limeDark, 1));
    painter.setBrush(isFinal ? Theme::success : Theme::brand);
    painter.drawEllipse(dot, dotSize / 2, dotSize / 2);
    const QTextBlock next = block.next().next();
    if (!next.isValid())
        return;
    const double top = y + dotSize / 2 + lineGap;
    const double bottom = std::round(firstLineMiddle(next)) - dotSize / 2 - lineGap;
    painter.fillRect(QRectF(std::floor(dot.x()), top, 1, bottom - top), Tones::border);
}

} // namespace kopertal
