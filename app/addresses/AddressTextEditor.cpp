#include "app/addresses/AddressTextEditor.h"

#include "app/addresses/TextBounds.h"
#include "app/common/Theme.h"
#include "ui/Fonts.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QMimeData>
#include <QScopedValueRollback>
#include <QTextBlock>

#include <algorithm>
#include <memory>

namespace kopertal {
namespace {

constexpr qsizetype longestHistory = maxEditorText; // takes some 25 MB

/// The separators that a document shows as line ends become line feeds.
QString withLineFeeds(QString text) {
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    for (const QChar separator :
         {QChar(u'\r'), QChar(QChar::LineSeparator), QChar(QChar::ParagraphSeparator)})
        text.replace(separator, u'\n');
    return text;
}

bool isSpaceOrBreak(QChar c) {
    return c.isSpace();
}

/// In a step of undo of its own: outside of an edit block, Qt joins it to what was typed before.
void insertAsOneStep(QTextCursor cursor, const QString& text) {
    cursor.beginEditBlock();
    cursor.insertText(text);
    cursor.endEditBlock();
}

bool isClearKey(const QKeyEvent* event) {
    return event->key() == Qt::Key_Backspace && event->modifiers() == Qt::ControlModifier;
}

} // namespace

AddressTextEditor::AddressTextEditor(QWidget* parent) : QPlainTextEdit(parent) {
    setFont(morvik::monoFont(12));
    setFrameShape(QFrame::NoFrame);
    setLineWrapMode(QPlainTextEdit::WidgetWidth);
    setTabChangesFocus(true);
    setAccessibleName(QStringLiteral("Adresy odbiorców"));
    document()->setDocumentMargin(0);
    QPalette colours = palette();
    colours.setColor(QPalette::Base, Qt::transparent); // the card's white, with its round corners
    colours.setColor(QPalette::Text, Theme::textMain);
    setPalette(colours);
    m_live.replaceLines(0, 0, 1, 1, [](qsizetype) { return QString(); });
    connect(document(), &QTextDocument::contentsChange, this, &AddressTextEditor::onContentsChange);
    connect(this, &QPlainTextEdit::textChanged, this, &AddressTextEditor::onTextChanged);
}

QString AddressTextEditor::text() const {
    return withLineFeeds(document()->toRawText());
}

void AddressTextEditor::replaceText(const QString& text) {
    boundHistory();
    QTextCursor cursor(document());
    cursor.select(QTextCursor::Document);
    insertAsOneStep(cursor, text);
    cursor.movePosition(QTextCursor::End);
    setTextCursor(cursor);
}

void AddressTextEditor::undoStep() {
    const QScopedValueRollback replay(m_replayDepth, m_replayDepth + 1);
    undo();
}

void AddressTextEditor::redoStep() {
    const QScopedValueRollback replay(m_replayDepth, m_replayDepth + 1);
    redo();
}

bool AddressTextEditor::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride && isClearKey(static_cast<QKeyEvent*>(event))) {
        event->ignore(); // here it clears all addresses, not a word
        return false;
    }
    return QPlainTextEdit::event(event);
}

void AddressTextEditor::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Undo)) {
        undoStep();
    } else if (event->matches(QKeySequence::Redo)) {
        redoStep();
    } else if (event->matches(QKeySequence::InsertLineSeparator)) {
        insertPlainText(QStringLiteral("\n")); // a new line, for the parser too
    } else {
        QPlainTextEdit::keyPressEvent(event);
        return;
    }
    event->accept();
}

void AddressTextEditor::contextMenuEvent(QContextMenuEvent* event) {
    const std::unique_ptr<QMenu> menu(createStandardContextMenu(event->pos()));
    for (QAction* action : menu->actions()) {
        const bool isUndo = action->objectName() == QStringLiteral("edit-undo");
        if (!isUndo && action->objectName() != QStringLiteral("edit-redo"))
            continue;
        action->disconnect();
        connect(action, &QAction::triggered, this,
                isUndo ? &AddressTextEditor::undoStep : &AddressTextEditor::redoStep);
    }
    menu->exec(event->globalPos());
}

bool AddressTextEditor::canInsertFromMimeData(const QMimeData* source) const {
    return source->hasUrls() || source->hasText();
}

void AddressTextEditor::insertFromMimeData(const QMimeData* source) {
    const QList<QUrl> urls = source->urls();
    if (std::any_of(urls.begin(), urls.end(), [](const QUrl& url) { return url.isLocalFile(); }))
        Q_EMIT filesReceived(urls);
    else if (source->hasText())
        insertText(withLineFeeds(source->text()));
}

/// Of a move within the text, the toolkit takes away the old place before it asks for the new one.
void AddressTextEditor::dropEvent(QDropEvent* event) {
    boundHistory();
    const int before = document()->characterCount();
    m_isRefused = false;
    QPlainTextEdit::dropEvent(event);
    if (m_isRefused && document()->characterCount() < before)
        undoStep();
}

void AddressTextEditor::insertText(const QString& text) {
    const QTextCursor cursor = textCursor();
    const QTextDocument* all = document();
    const QTextBlock first = all->findBlock(cursor.selectionStart());
    const QTextBlock last = all->findBlock(cursor.selectionEnd());
    const QString lines = first.text().left(cursor.selectionStart() - first.position()) + text +
                          last.text().mid(cursor.selectionEnd() - last.position());
    const qsizetype kept = all->characterCount() - 1 - // all the lines that stay as they are
                           (last.position() + last.length() - 1 - first.position());
    const QString refusal = editorRefusal(lines, kept);
    m_isRefused = !refusal.isEmpty();
    if (m_isRefused) {
        Q_EMIT refused(refusal);
        return;
    }
    boundHistory();
    insertAsOneStep(textCursor(), text);
    ensureCursorVisible();
}

/// To have the history taken away is not enough: the document keeps all texts that were ever
/// inserted until it is made anew.
void AddressTextEditor::boundHistory() {
    if (m_inserted <= longestHistory)
        return;
    const QScopedValueRollback replay(m_replayDepth, m_replayDepth + 1);
    const QTextCursor before = textCursor();
    const int anchor = before.anchor();
    const int position = before.position();
    document()->setPlainText(document()->toRawText());
    QTextCursor cursor(document());
    cursor.setPosition(anchor);
    cursor.setPosition(position, QTextCursor::KeepAnchor);
    setTextCursor(cursor);
    m_inserted = 0;
}

QMimeData* AddressTextEditor::createMimeDataFromSelection() const {
    auto* selection = new QMimeData; // the clipboard owns it
    selection->setText(withLineFeeds(textCursor().selectedText()));
    return selection;
}

/// Keeps the recipients true; the change itself is handled once the document is at rest.
void AddressTextEditor::onContentsChange(int position, int, int added) {
    if (m_replayDepth == 0) // else nothing new
        m_inserted += added;
    const QTextDocument* text = document();
    const int end = std::min(position + added, std::max(0, text->characterCount() - 1));
    const int first = text->findBlock(std::min(position, end)).blockNumber();
    const int last = text->findBlock(end).blockNumber();
    const int lines = last - first + 1;
    const int removed = lines - (text->blockCount() - m_lineCount);
    m_lineCount = text->blockCount();
    QTextBlock block;
    const auto change =
        m_live.replaceLines(first, removed, lines, m_lineCount, [&](qsizetype line) {
            block =
                block.isValid() ? block.next() : text->findBlockByNumber(static_cast<int>(line));
            return withLineFeeds(block.text());
        });
    Q_EMIT edited(change);
}

void AddressTextEditor::onTextChanged() {
    const qsizetype length = m_live.characterCount();
    const bool grewAtOnce = length - m_previousTextLength >= 2;
    if (grewAtOnce && m_replayDepth == 0)
        normaliseEnd();
    m_previousTextLength = m_live.characterCount();
}

/// White space goes from both ends and a blank line comes to the end, unless the text ends with
/// one. Only the ends are edited, so that the caret stays at its words, in the undo step of the
/// insertion.
void AddressTextEditor::normaliseEnd() {
    const QTextDocument* text = document();
    const int length = text->characterCount() - 1;
    const auto at = [&](int position) {
        const QChar c = text->characterAt(position);
        return c == QChar::ParagraphSeparator || c == QChar::LineSeparator ? QChar(u'\n') : c;
    };
    if (length == 0 || (length >= 2 && at(length - 1) == u'\n' && at(length - 2) == u'\n'))
        return;
    int end = length;
    while (end > 0 && isSpaceOrBreak(at(end - 1)))
        --end;
    int start = 0;
    while (start < end && isSpaceOrBreak(at(start)))
        ++start;
    QTextCursor cursor(document());
    cursor.joinPreviousEditBlock();
    cursor.setPosition(end);
    cursor.setPosition(length, QTextCursor::KeepAnchor);
    cursor.insertText(QStringLiteral("\n\n"));
    cursor.setPosition(0);
    cursor.setPosition(start, QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    cursor.endEditBlock();
}

} // namespace kopertal
