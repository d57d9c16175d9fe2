// The least that a window with one word in it takes: fonts have to be found and read for it.
#include <QApplication>
#include <QLabel>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QLabel window(QStringLiteral("Nadanie"));
    window.resize(1000, 688);
    window.show();
    return QApplication::exec();
}
