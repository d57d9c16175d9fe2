// Another program's window: what a line of its standard input describes, as JSON with "urls" and
// "text", is dragged out of it at the next press of the mouse; the result goes to standard output.
#include <QApplication>
#include <QDrag>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMimeData>
#include <QMouseEvent>
#include <QSocketNotifier>
#include <QUrl>
#include <QWidget>

#include <cstdio>
#include <iostream>
#include <string>

namespace {

class Source : public QWidget {
public:
    Source() : QWidget(nullptr, Qt::X11BypassWindowManagerHint | Qt::WindowStaysOnTopHint) {
        connect(&m_input, &QSocketNotifier::activated, this, &Source::readLine);
    }

protected:
    void mousePressEvent(QMouseEvent*) override {
        auto* carried = new QMimeData; // the drag owns it
        QList<QUrl> urls;
        for (const auto& url : m_what[QStringLiteral("urls")].toArray())
            urls << QUrl(url.toString());
        if (!urls.isEmpty())
            carried->setUrls(urls);
        if (m_what.contains(QStringLiteral("text")))
            carried->setText(m_what[QStringLiteral("text")].toString());
        auto* drag = new QDrag(this); // deletes itself
        drag->setMimeData(carried);
        std::puts(drag->exec(Qt::CopyAction) == Qt::CopyAction ? "copied" : "refused");
        std::fflush(stdout);
    }

private:
    void readLine() {
        std::string line;
        if (!std::getline(std::cin, line))
            QCoreApplication::quit();
        m_what = QJsonDocument::fromJson(QByteArray::fromStdString(line)).object();
        raise();
        std::puts("ready");
        std::fflush(stdout);
    }

    QSocketNotifier m_input{0, QSocketNotifier::Read};
    QJsonObject m_what;
};

} // namespace

int main(int argc, char** argv) {
    QCoreApplication::setSetuidAllowed(true); // a test may act as an ordinary user
    QApplication application(argc, argv);
    Source source;
    source.setGeometry(1560, 1160, 40, 40);
    source.show();
    return QApplication::exec();
}
