// The least that a window of the toolkit takes.
#include <QApplication>
#include <QWidget>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QWidget window;
    window.resize(1000, 688);
    window.show();
    return QApplication::exec();
}
