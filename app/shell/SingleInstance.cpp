#include "app/shell/SingleInstance.h"

#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QThread>

#include <chrono>

namespace kopertal {
namespace {

using namespace std::chrono_literals;

constexpr qint64 maxMessageBytes = 64 * 1024;
constexpr auto answerTime = 5s;
constexpr auto retryTime = 50ms;
const auto fileKey = QStringLiteral("file");
const auto tokenKey = QStringLiteral("activationToken");
const QByteArray answer = QByteArrayLiteral("ok\n");

QByteArray encode(const StartMessage& message) {
    return QJsonDocument(QJsonObject{{fileKey, message.file}, {tokenKey, message.activationToken}})
               .toJson(QJsonDocument::Compact) +
           '\n';
}

} // namespace

SingleInstance::SingleInstance(const QString& folder, QObject* parent)
    : QObject(parent),
      m_socketPath(folder + QStringLiteral("/kopertal.socket")),
      m_lock(folder + QStringLiteral("/kopertal.lock")) {
    m_lock.setStaleLockTime(0); // held as long as its process lives
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = m_server.nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] { receive(socket); });
        }
    });
}

SingleInstance::~SingleInstance() = default;

bool SingleInstance::claim() {
    if (!m_lock.tryLock(0))
        return m_lock.error() != QLockFile::LockFailedError; // no folder to lock in: work alone
    QLocalServer::removeServer(m_socketPath);                // of a process that crashed
    m_server.listen(m_socketPath);
    return true;
}

bool SingleInstance::handOver(const StartMessage& message) const {
    const QDeadlineTimer deadline(answerTime);
    while (!deadline.hasExpired()) {
        QLocalSocket socket;
        socket.connectToServer(m_socketPath);
        if (socket.waitForConnected(static_cast<int>(deadline.remainingTime()))) {
            socket.write(encode(message));
            while (!deadline.hasExpired() && !socket.canReadLine()) {
                if (!socket.waitForReadyRead(static_cast<int>(deadline.remainingTime())))
                    break;
            }
            return socket.readLine() == answer;
        }
        QThread::msleep(static_cast<unsigned long>(retryTime.count())); // it may not listen yet
    }
    return false;
}

void SingleInstance::release() {
    m_server.close();
    m_lock.unlock();
}

void SingleInstance::receive(QLocalSocket* socket) {
    if (socket->bytesAvailable() > maxMessageBytes) {
        socket->abort();
        return;
    }
    if (!socket->canReadLine())
        return;
    const QJsonObject message = QJsonDocument::fromJson(socket->readLine()).object();
    socket->write(answer);
    socket->disconnectFromServer();
    Q_EMIT started({message[fileKey].toString(), message[tokenKey].toString()});
}

} // namespace kopertal
