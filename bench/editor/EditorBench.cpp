// The main thread's work for a key press in the addresses tab with 10 000 recipients in it, from
// the key to the painted preview, beside the mark of one frame; then how long the largest text
// takes to come in. Runs without a display: QT_QPA_PLATFORM=offscreen EditorBench [RECIPIENTS]
#include "app/addresses/AddressTextEditor.h"
#include "app/addresses/AddressView.h"
#include "app/addresses/TextBounds.h"
#include "app/settings/AppSettings.h"
#include "bench/Result.h"
#include "ui/MorvikStyle.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>

using namespace kopertal;

namespace {

constexpr int presses = 1000;
constexpr double frame = 16; // ms

QString addresses(int recipients) {
    QString text;
    for (int number = 1; number <= recipients; ++number)
        text += QStringLiteral("Łukasz Gąsiorowski %1\nulica Główna 5 m. %1\n80-831 Gdańsk\n\n")
                    .arg(number);
    return text;
}

/// The main thread's work since it was made, which a busy machine does not lengthen.
class WorkTimer {
public:
    double milliseconds() const { return now() - m_start; }

private:
    static double now() {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
    }

    double m_start = now();
};

/// `promise`: what is recorded of it; may be null.
void report(const char* what, const char* promise, QList<double> times) {
    std::sort(times.begin(), times.end());
    const double worst = times.last();
    if (promise)
        bench::record(
            {.promise = promise, .figure = worst, .unit = "ms", .relation = "<=", .mark = frame});
    std::printf("%-34s median %6.2f  p95 %6.2f  worst %6.2f ms  (mark %.0f: %s)\n", what,
                times[times.size() / 2], times[times.size() * 95 / 100], worst, frame,
                worst <= frame ? "reached" : "MISSED");
}

/// Presses what `keyAt` says, from the middle of the text on.
template <typename KeyAt>
void press(AddressTextEditor& editor, const char* what, const char* promise, KeyAt keyAt) {
    QTextCursor cursor = editor.textCursor();
    cursor.setPosition(editor.document()->characterCount() / 2);
    editor.setTextCursor(cursor);
    QCoreApplication::processEvents();
    QList<double> times;
    for (int number = 0; number < presses; ++number) {
        const WorkTimer timer;
        QTest::keyClick(&editor, keyAt(number));
        QCoreApplication::processEvents(); // preview, counts and painting
        times << timer.milliseconds();
    }
    report(what, promise, times);
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    morvik::MorvikStyle::install(application);
    const int recipients = argc > 1 ? std::atoi(argv[1]) : 10'000;
    const QTemporaryDir folder;
    AppSettings settings(PreferencesStore(folder.filePath(QStringLiteral("settings.json"))));
    AddressView view(settings);
    AddressTextEditor& editor = view.editor();
    view.resize(1000, 600);
    view.show();
    QCoreApplication::processEvents();

    editor.replaceText(addresses(recipients));
    std::printf("%d key presses each, with %d recipients\n", presses, recipients);
    press(editor, "letters", nullptr, [](int) { return Qt::Key_X; });
    press(editor, "line ends", nullptr, [](int) { return Qt::Key_Return; });
    press(editor, "letters, line ends and deletions",
          "a key press among 10 000 recipients, main thread, the worst of 1 000", [](int number) {
              return number % 5 == 4   ? Qt::Key_Return
                     : number % 5 == 3 ? Qt::Key_Backspace
                                       : Qt::Key_A;
          });

    QString largest = addresses(60'000).left(maxEditorText);
    const WorkTimer coming;
    editor.replaceText(largest);
    QCoreApplication::processEvents();
    std::printf("%lld characters come in            %6.0f ms, of %lld recipients\n",
                static_cast<long long>(largest.size()), coming.milliseconds(),
                static_cast<long long>(editor.live().recipients().size()));
    press(editor, "letters in that",
          "a key press in 2 000 000 characters, main thread, the worst of 1 000",
          [](int) { return Qt::Key_X; });
    const WorkTimer clearing;
    editor.replaceText({});
    QCoreApplication::processEvents();
    std::printf("clearing it                        %6.0f ms\n", clearing.milliseconds());
    editor.replaceText(QString(maxEditorLine, u'x'));
    press(editor, "letters in the longest line", nullptr, [](int) { return Qt::Key_X; });
    return 0;
}
