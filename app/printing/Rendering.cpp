#include "app/printing/Rendering.h"

#include "app/printing/ChildProcess.h"
#include "app/printing/PrintError.h"
#include "engine/EngineError.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QFileInfo>
#include <QStandardPaths>
#include <QThread>
#include <QUrl>

#include <algorithm>
#include <memory>
#include <unistd.h>
#include <vector>

namespace kopertal {
namespace {

constexpr std::chrono::milliseconds glance{40};
constexpr qsizetype mostAtOnce = 2; // each takes 200 MB

/// Removes the socket at which LibreOffice awaits other starts with its profile, when this object
/// goes. Whatever TMPDIR says, it stands in /tmp, named after the profile's address, or in /var/tmp
/// where that cannot be written to; a LibreOffice that is killed, or asked to end, leaves it there.
class SocketRemoval {
public:
    explicit SocketRemoval(const QString& profile) {
        const QByteArrayView utf16(reinterpret_cast<const char*>(profile.utf16()),
                                   2 * profile.size());
        m_name = QStringLiteral("/OSL_PIPE_%1_SingleOfficeIPC_").arg(getuid());
        for (const char byte : QCryptographicHash::hash(utf16, QCryptographicHash::Md5))
            m_name += QString::number(static_cast<uchar>(byte), 16); // without leading zeros
    }
    ~SocketRemoval() {
        for (const auto& folder : {QStringLiteral("/tmp"), QStringLiteral("/var/tmp")})
            QFile::remove(folder + m_name);
    }
    SocketRemoval(const SocketRemoval&) = delete;
    SocketRemoval& operator=(const SocketRemoval&) = delete;

private:
    QString m_name;
};

/// One start of LibreOffice with its share of the documents.
class Renderer {
public:
    Renderer(const QString& program, const QStringList& documents, const QString& folder,
             qsizetype number, std::chrono::milliseconds patience)
        : m_documents(documents),
          m_folder(folder),
          m_patience(patience),
          m_socket(profile(folder, number)),
          m_process(program, arguments(documents, folder, number), environment(folder)),
          m_limit(patience) {}

    /// Documents done. Throws PrintError.
    qsizetype look() {
        const bool isEnded = m_process.waitForEnd(glance);
        const qsizetype begun = std::ranges::count_if(m_documents, [](const QString& document) {
            return QFileInfo::exists(renderedPath(document));
        });
        if (isEnded) {
            if (!m_process.isSuccess() || begun < m_documents.size())
                throw workError(
                    QStringLiteral("LibreOffice nie przygotował stron do druku. Dokument może być "
                                   "uszkodzony: otwórz go i zapisz albo stwórz kopertal od nowa."),
                    m_process.reason(), m_folder);
            m_isEnded = true;
            return begun;
        }
        if (begun > m_begun) {
            m_begun = begun;
            m_limit = QDeadlineTimer(m_patience);
        } else if (m_limit.hasExpired()) {
            throw PrintError(QStringLiteral("LibreOffice nie odpowiada. Spróbuj jeszcze raz."));
        }
        return std::max<qsizetype>(0, begun - 1); // the last one may be half-written
    }

    bool isEnded() const { return m_isEnded; }

private:
    static QString profile(const QString& folder, qsizetype number) {
        const QUrl url =
            QUrl::fromLocalFile(QStringLiteral("%1/profile-%2").arg(folder).arg(number));
        return QString::fromLatin1(url.toEncoded());
    }

    static QStringList arguments(const QStringList& documents, const QString& folder,
                                 qsizetype number) {
        return QStringList{QStringLiteral("-env:UserInstallation=") + profile(folder, number),
                           QStringLiteral("--headless"),
                           QStringLiteral("--norestore"),
                           QStringLiteral("--convert-to"),
                           QStringLiteral("pdf"),
                           QStringLiteral("--outdir"),
                           folder} +
               documents;
    }

    /// Temporary files of its own go with the folder, even when it is killed.
    static QProcessEnvironment environment(const QString& folder) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TMPDIR"), folder);
        return environment;
    }

    QStringList m_documents;
    QString m_folder;
    std::chrono::milliseconds m_patience;
    SocketRemoval m_socket; // after the process's end
    ChildProcess m_process;
    QDeadlineTimer m_limit;
    qsizetype m_begun = 0;
    bool m_isEnded = false;
};

} // namespace

QString findWordProcessor() {
    for (const auto& name : {QStringLiteral("soffice"), QStringLiteral("libreoffice")}) {
        const QString path = QStandardPaths::findExecutable(name);
        if (!path.isEmpty())
            return path;
    }
    throw PrintError(
        QStringLiteral("Do drukowania potrzebny jest LibreOffice Writer. Zainstaluj pakiet "
                       "libreoffice-writer albo libreoffice-writer-nogui."));
}

void renderDocuments(const QStringList& documents, const QString& folder,
                     const std::function<void(int)>& rendered, const std::stop_token& stop,
                     std::chrono::milliseconds patience) {
    const QString program = findWordProcessor();
    const qsizetype atOnce = std::clamp<qsizetype>(
        std::min<qsizetype>(documents.size(), QThread::idealThreadCount()), 1, mostAtOnce);
    std::vector<std::unique_ptr<Renderer>> renderers;
    for (qsizetype number = 0; number < atOnce; ++number) {
        const qsizetype begin = documents.size() * number / atOnce;
        const qsizetype end = documents.size() * (number + 1) / atOnce;
        renderers.push_back(std::make_unique<Renderer>(
            program, documents.sliced(begin, end - begin), folder, number, patience));
    }
    for (bool isDone = false; !isDone;) {
        qsizetype count = 0;
        isDone = true;
        for (const auto& renderer : renderers) {
            count += renderer->look();
            isDone = isDone && renderer->isEnded();
        }
        rendered(static_cast<int>(count));
        if (stop.stop_requested())
            throw Cancelled();
    }
}

QString renderedPath(const QString& document) {
    return document.chopped(document.size() - document.lastIndexOf(u'.')) + QStringLiteral(".pdf");
}

} // namespace kopertal
