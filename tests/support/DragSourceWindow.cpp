// Another program's window, in the corner of the screen: kopertal_drag_source ADDRESS... Says a
// line when it is there; the addresses are dragged out of it at a press of the mouse, and it ends
// with 0 when they were taken.
#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QTimer>
#include <QUrl>
#include <QWidget>

#include <cstdio>

namespace {

class Source : public QWidget {
public:
    Source() : QWidget(nullptr, Qt::X11BypassWindowManagerHint | Qt::WindowStaysOnTopHint) {}

protected:
    void paintEvent(QPaintEvent*) override {
        std::puts("ready");
        std::fflush(stdout);
    }

    void mousePressEvent(QMouseEvent*) override {
        auto* carried = new QMimeData; // the drag owns it
        carried->setUrls(QUrl::fromStringList(QCoreApplication::arguments().sliced(1)));
        auto* drag = new QDrag(this); // deletes itself
        drag->setMimeData(carried);
        const int result = drag->exec(Qt::CopyAction) == Qt::CopyAction ? 0 : 1;
        // When the other window has asked for the addresses.
        QTimer::singleShot(1000, [result] { QCoreApplication::exit(result); });
    }
};

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    Source source;
    source.setGeometry(1560, 1160, 40, 40);
    source.show();
    return QApplication::exec();
}
