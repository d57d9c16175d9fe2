#include "app/addresses/AddressTextEditor.h"
#include "app/addresses/AddressView.h"
#include "app/addresses/RecipientModel.h"
#include "app/addresses/TextBounds.h"
#include "app/settings/AppSettings.h"

#include <QClipboard>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QMimeData>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

using namespace kopertal;

namespace {

QStringList shown(const QList<ParsedAddress>& recipients) {
    QStringList result;
    for (const ParsedAddress& recipient : recipients)
        result << recipient.name + u'|' + recipient.lines.join(u'|');
    return result;
}

void paste(AddressTextEditor& editor, const QString& text) {
    QGuiApplication::clipboard()->setText(text);
    editor.paste();
}

/// The editor's running account against a fresh look at its whole text.
bool isConsistent(const AddressTextEditor& editor, const RecipientModel& model) {
    const QString text = editor.text();
    const QStringList expected = shown(parseAddresses(text));
    return shown(editor.live().recipients()) == expected &&
           editor.live().warnings() == skippedEntries(text) && model.rowCount() == expected.size();
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
                     {"", "A\nB\n\n\n", "A\nB\n\n\n"},
                     {"", "\n\t A\nB \n ", "A\nB\n\n"},
                     {"", " \n ", "\n\n"},
                     {"A", "B", "AB"},
                     {"A", "e\u0301", "Ae\u0301"}, // one cluster of several code points
                     {"A", "👨‍👩‍👧‍👦", "A👨‍👩‍👧‍👦"},
                     {"A", "🇵🇱🇵🇱", "A🇵🇱🇵🇱\n\n"},
                     {"Ae", "\u0301\u0302", "Ae\u0301\u0302"}, // joins the letter before
                     {"", "A\r\nB\r\n\r\nC\r\nD", "A\nB\n\nC\nD\n\n"},
                     {"", "A\u2028B\u2029C", "A\nB\nC\n\n"},
                     {"", "A\u00a0x\nB", "A\u00a0x\nB\n\n"}};
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

    void typingNeverNormalises() {
        AddressTextEditor editor;
        QTest::keyClicks(&editor, QStringLiteral("Jan Kowalski"));
        QTest::keyClick(&editor, Qt::Key_Return);
        QTest::keyClick(&editor, Qt::Key_Return, Qt::ShiftModifier);
        QTest::keyClicks(&editor, QStringLiteral("x "));
        QCOMPARE(editor.text(), QStringLiteral("Jan Kowalski\n\nx "));
        QTest::keyClick(&editor, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(&editor, Qt::Key_Delete);
        QCOMPARE(editor.text(), QString());
        QTest::keyClick(&editor, Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(editor.text(), QStringLiteral("Jan Kowalski\n\nx "));
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
        paste(editor, QStringLiteral("A\nB"));
        QTest::keyClicks(&editor, QStringLiteral("C"));
        QCOMPARE(editor.text(), QStringLiteral("A\nB\n\nC"));
        QTextCursor cursor = editor.textCursor();
        cursor.setPosition(1);
        editor.setTextCursor(cursor);
        paste(editor, QStringLiteral("xy"));
        QTest::keyClicks(&editor, QStringLiteral("z"));
        QCOMPARE(editor.text(), QStringLiteral("Axyz\nB\n\nC\n\n"));
    }

    void filesGoToTheTab() {
        AddressTextEditor editor;
        QSignalSpy received(&editor, &AddressTextEditor::filesReceived);
        auto* files = new QMimeData;
        files->setUrls({QUrl::fromLocalFile(QStringLiteral("/a/b.txt"))});
        files->setText(QStringLiteral("/a/b.txt"));
        QGuiApplication::clipboard()->setMimeData(files);
        editor.paste();
        QCOMPARE(received.count(), 1);
        QCOMPARE(editor.text(), QString());
        auto* link = new QMimeData;
        link->setUrls({QUrl(QStringLiteral("https://example.invalid/"))});
        link->setText(QStringLiteral("x"));
        QGuiApplication::clipboard()->setMimeData(link);
        editor.paste();
        QCOMPARE(received.count(), 1);
        QCOMPARE(editor.text(), QStringLiteral("x"));
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
            switch (random.bounded(10)) {
            case 0:
                editor.undoStep();
                break;
            case 1:
                editor.redoStep();
                break;
            default: {
                QTextCursor cursor = editor.textCursor();
                cursor.setPosition(random.bounded(length + 1));
                cursor.setPosition(std::min(length, cursor.position() + random.bounded(6)),
                                   QTextCursor::KeepAnchor);
                editor.setTextCursor(cursor);
                editor.insertPlainText(pieces[random.bounded(static_cast<int>(pieces.size()))]);
            }
            }
            if (length > 4000)
                editor.replaceText({});
            QVERIFY2(isConsistent(editor, model), qPrintable(editor.text()));
        }
    }

    /// A generous bound for unoptimised, loaded and instrumented builds; the benchmark has the
    /// mark.
    void keyPressesStayFastWithManyRecipients() {
        const QTemporaryDir folder;
        AppSettings settings(PreferencesStore(folder.filePath(QStringLiteral("settings.json"))));
        AddressView view(settings);
        AddressTextEditor& editor = view.editor();
        editor.replaceText(
            QStringLiteral("Łukasz Gąsiorowski\nulica Główna 5 m. 12\n80-831 Gdańsk\n\n")
                .repeated(10'000));
        QCOMPARE(editor.live().recipients().size(), 10'000);
        view.resize(1000, 600);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        QTextCursor middle = editor.textCursor();
        middle.setPosition(editor.document()->characterCount() / 2);
        editor.setTextCursor(middle);
        QList<qint64> times;
        for (int press = 0; press < 41; ++press) {
            QElapsedTimer timer;
            timer.start();
            QTest::keyClick(&editor, press % 8 == 7 ? Qt::Key_Return : Qt::Key_X);
            QCoreApplication::processEvents(); // the painting too
            times << timer.nsecsElapsed() / 1000;
        }
        std::sort(times.begin(), times.end());
        qInfo("key press with 10 000 recipients: median %lld us, worst %lld us", times[20],
              times.last());
        QVERIFY(times[20] < 100'000);
        QCOMPARE(shown(editor.live().recipients()), shown(parseAddresses(editor.text())));
    }
};

QTEST_MAIN(AddressEditorTest)
#include "AddressEditorTest.moc"
