#pragma once

#include "app/addresses/LiveRecipients.h"

#include <QPlainTextEdit>
#include <QUrl>

namespace kopertal {

/// The plain text editor of the addresses. It keeps the recipients of its text up to date, and ends
/// the text with a blank line after an insertion of two characters or more; one undo takes back
/// both. Undo and redo themselves bring back exactly what was there. Steps of undo cost memory that
/// only a new document gives back: when twice the largest text has been inserted, they are
/// forgotten before the next paste or other text, which itself can be undone.
class AddressTextEditor : public QPlainTextEdit {
    Q_OBJECT

public:
    explicit AddressTextEditor(QWidget* parent = nullptr);

    /// The text as it stands; unlike toPlainText() it keeps no-break spaces.
    QString text() const;

    /// Puts `text` in place of what is there, as one step of undo.
    void replaceText(const QString& text);

    const LiveRecipients& live() const { return m_live; }

public Q_SLOTS:
    void undoStep();
    void redoStep();

Q_SIGNALS:
    /// The text has changed, and live() with it.
    void edited(const kopertal::LiveRecipients::Change& change);
    /// Files were dropped on or pasted into the editor.
    void filesReceived(const QList<QUrl>& urls);
    /// What was pasted or dropped is too much; nothing has changed. `message` is for the user.
    void refused(const QString& message);

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    bool canInsertFromMimeData(const QMimeData* source) const override;
    void insertFromMimeData(const QMimeData* source) override;
    void dropEvent(QDropEvent* event) override;
    QMimeData* createMimeDataFromSelection() const override;

private:
    void insertText(const QString& text);
    void boundHistory();
    void onContentsChange(int position, int removed, int added);
    void onTextChanged();
    void normaliseEnd();

    LiveRecipients m_live;
    qsizetype m_previousTextLength = 0;
    qsizetype m_inserted = 0; // since the history began
    int m_lineCount = 1;
    int m_replayDepth = 0;    // undo or redo is under way
    bool m_isRefused = false; // the insertion under way
};

} // namespace kopertal
