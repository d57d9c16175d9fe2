#include "app/addresses/AddressTextEditor.h"
#include "app/addresses/RecipientModel.h"
#include "app/addresses/TextBounds.h"
#include "tests/support/FollowsText.h"

#include <QApplication>
#include <QClipboard>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>

using namespace kopertal;
using testing::followsItsText;

namespace {

void paste(AddressTextEditor& editor, const QString& text) {
    QApplication::clipboard()->setText(text);
    editor.paste();
}

} // namespace

class AddressEditorTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void normalisesGrowthByTwoCharacters() {
        const struct {
            QString before, pasted, after;
        } cases[] = {{"", "A\nB", "A\nB\n\n"},
                     {"", "  A\nB\n\n", "  A\nB\n\n"},
                     {"", "\n\t A\nB \n ", "A\nB\n\n"},
                     {"", " \n ", "\n\n"},
                     {"A", "👨‍👩‍👧‍👦",
                      "A👨‍👩‍👧‍👦"}, // one cluster of several code points
                     {"A", "🇵🇱🇵🇱", "A🇵🇱🇵🇱\n\n"},
                     {"Ae", "\u0301\u0302", "Ae\u0301\u0302"}, // joins the letter before
                     {"", "A\r\nB\r\n\r\nC\r\nD", "A\nB\n\nC\nD\n\n"},
                     {"", "A\u00a0x\u2028B\u2029C", "A\u00a0x\nB\nC\n\n"}};
        for (const auto& [before, pasted, after] : cases) {
            AddressTextEditor editor;
            QTest::keyClicks(&editor, before);
            paste(editor, pasted);
            QCOMPARE(editor.text(), after);
            editor.undoStep();
            QCOMPARE(editor.text(), before);
            editor.redoStep();
            QCOMPARE(editor.text(), after);
        }
    }

    void forgetsWhatIsTooLongToUndo() {
        AddressTextEditor editor;
        const QString line = QString(maxEditorLine - 1, u'x') + u'\n';
        const QString large = line.repeated(maxEditorText / 2 / maxEditorLine) + u'\n';
        for (int i = 0; i < 5; ++i)
            editor.replaceText(QString::number(i) + large);
        paste(editor, QStringLiteral("\u00a0")); // where the caret is: at the end
        QCOMPARE(editor.text(), QStringLiteral("4") + large + QStringLiteral("\u00a0"));
        int steps = 0;
        for (; editor.document()->isUndoAvailable(); ++steps) {
            editor.undoStep();
            QCOMPARE(editor.text(), QString::number(4 - steps) + large);
        }
        QCOMPARE(steps, 2);
    }

    void caretStaysAtItsWords() {
        AddressTextEditor editor;
        paste(editor, "A\nB");
        QTest::keyClicks(&editor, "C");
        QCOMPARE(editor.text(), "A\nB\n\nC");
        QTextCursor cursor = editor.textCursor();
        cursor.setPosition(1);
        editor.setTextCursor(cursor);
        paste(editor, "xy");
        QTest::keyClicks(&editor, "z");
        QCOMPARE(editor.text(), "Axyz\nB\n\nC\n\n");
    }

    void refusesWhatIsTooMuch() {
        const QString line(maxEditorLine - 1, u'a');
        const QString lines = (line + u'\n').repeated(maxEditorText / maxEditorLine);
        const struct {
            QString before, pasted;
            bool isTaken;
        } cases[] = {{"", lines, true},
                     {"", lines + u'a', false},
                     {"ab", lines, false},
                     {"a", line, true},
                     {"", line + QStringLiteral("aa\nb"), false},
                     {"ab", line, false}}; // joined to a longer one
        for (const auto& [before, pasted, isTaken] : cases) {
            AddressTextEditor editor;
            QSignalSpy refused(&editor, &AddressTextEditor::refused);
            QTest::keyClicks(&editor, before);
            paste(editor, pasted);
            QCOMPARE(refused.isEmpty(), isTaken);
            QCOMPARE(editor.text() != before, isTaken);
            editor.selectAll();
            paste(editor, QStringLiteral("A\nB"));
            QCOMPARE(editor.text().trimmed(), QStringLiteral("A\nB")); // the selection makes room
        }
    }

    /// Random edits, checked against a parse of the whole text after each.
    void staysTrueUnderRandomEdits() {
        QRandomGenerator random(20260312);
        AddressTextEditor editor;
        RecipientModel model(editor.live());
        connect(&editor, &AddressTextEditor::edited, &model, &RecipientModel::apply);
        const QStringList pieces{
            "A",     "\n",      "\n\n",          " ",      "Jan\nul. X 1\n00-000 Y",
            "\n \n", "é\u0301", "B\n\nC\nD\n\n", "\u00a0", ""};
        for (int step = 0; step < 3000; ++step) {
            const int length = editor.document()->characterCount() - 1;
            const int kind = random.bounded(10);
            if (kind == 0) {
                editor.undoStep();
            } else if (kind == 1) {
                editor.redoStep();
            } else {
                QTextCursor cursor = editor.textCursor();
                cursor.setPosition(random.bounded(length + 1));
                cursor.setPosition(std::min(length, cursor.position() + random.bounded(6)),
                                   QTextCursor::KeepAnchor);
                editor.setTextCursor(cursor);
                editor.insertPlainText(pieces[random.bounded(static_cast<int>(pieces.size()))]);
            }
            if (length > 4000)
                editor.replaceText({});
            QVERIFY2(followsItsText(editor), qPrintable(editor.text()));
            QCOMPARE(model.rowCount(), editor.live().recipients().size());
        }
    }
};

QTEST_MAIN(AddressEditorTest)
#include "AddressEditorTest.moc"
