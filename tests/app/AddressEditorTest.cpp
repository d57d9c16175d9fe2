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
    void normalisesGrowthByTwoCharacters_data() {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("pasted");
        QTest::addColumn<QString>("after");
        const auto row = [](const char* name, const char* before, const char* pasted,
                            const char* after) {
            QTest::newRow(name) << QString::fromUtf8(before) << QString::fromUtf8(pasted)
                                << QString::fromUtf8(after);
        };
        row("two lines", "", "A\nB", "A\nB\n\n");
        row("ends with a blank line already", "", "  A\nB\n\n", "  A\nB\n\n");
        row("three line feeds", "", "A\nB\n\n\n", "A\nB\n\n\n");
        row("white space at both ends", "", "\n\t A\nB \n ", "A\nB\n\n");
        row("white space only", "", " \n ", "\n\n");
        row("one character", "A", "B", "AB");
        row("one cluster of several code points", "A", "e\u0301", "Ae\u0301");
        row("one family of seven code points", "A", "👨‍👩‍👧‍👦",
            "A👨‍👩‍👧‍👦");
        row("two flags", "A", "🇵🇱🇵🇱", "A🇵🇱🇵🇱\n\n");
        row("a mark that joins the letter before", "Ae", "\u0301\u0302", "Ae\u0301\u0302");
        row("Windows line ends", "", "A\r\nB\r\n\r\nC\r\nD", "A\nB\n\nC\nD\n\n");
        row("line separators", "", "A\u2028B\u2029C", "A\nB\nC\n\n");
        row("no-break spaces stay", "", "A\u00a0x\nB", "A\u00a0x\nB\n\n");
    }

    void normalisesGrowthByTwoCharacters() {
        QFETCH(QString, before);
        QFETCH(QString, pasted);
        AddressTextEditor editor;
        for (const QChar c : before)
            QTest::keyClick(&editor, c.toLatin1());
        const QString start = editor.text();
        paste(editor, pasted);
        QTEST(editor.text(), "after");
        const QString end = editor.text();
        editor.undoStep();
        QCOMPARE(editor.text(), start);
        editor.redoStep();
        QCOMPARE(editor.text(), end);
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

    void clearingIsOneStepOfUndo() {
        AddressTextEditor editor;
        paste(editor, QStringLiteral("A\nB\n\nC"));
        const QString before = editor.text();
        editor.replaceText({});
        QCOMPARE(editor.text(), QString());
        QVERIFY(editor.live().recipients().isEmpty());
        QVERIFY(editor.live().warnings().isEmpty());
        QTest::keyClick(&editor, Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(editor.text(), before);
        QCOMPARE(editor.live().warnings(), QStringList{"C"});
    }

    void clearingTypedAndPastedTextIsOneStepOfUndo() {
        AddressTextEditor editor;
        QTest::keyClicks(&editor, QStringLiteral("Anna"));
        QTest::keyClick(&editor, Qt::Key_Return);
        QTest::keyClicks(&editor, QStringLiteral("ul. X 1"));
        QTest::keyClick(&editor, Qt::Key_Return);
        QTest::keyClick(&editor, Qt::Key_Return);
        const QString typed = editor.text();
        paste(editor, QStringLiteral("B\nC"));
        const QString pasted = editor.text();
        editor.replaceText({});
        editor.undoStep();
        QCOMPARE(editor.text(), pasted);
        editor.undoStep();
        QCOMPARE(editor.text(), typed);
        editor.redoStep();
        editor.redoStep();
        QCOMPARE(editor.text(), QString());
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

    void refusesWhatIsTooMuch_data() {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("pasted");
        QTest::addColumn<bool>("isTaken");
        const QString line(maxEditorLine - 1, u'a');
        const QString lines = (line + u'\n').repeated(maxEditorText / maxEditorLine);
        QTest::newRow("as much as there is room for") << "" << lines << true;
        QTest::newRow("one more") << "" << lines + u'a' << false;
        QTest::newRow("beside what is there") << "ab" << lines << false;
        QTest::newRow("the longest line") << "a" << line << true;
        QTest::newRow("a longer line") << "" << line + QStringLiteral("aa\nb") << false;
        QTest::newRow("lines joined to a longer one") << "ab" << line << false;
    }

    void refusesWhatIsTooMuch() {
        QFETCH(QString, before);
        QFETCH(QString, pasted);
        QFETCH(bool, isTaken);
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
