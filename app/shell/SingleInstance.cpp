#include "app/shell/SingleInstance.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QSocketNotifier>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <optional>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>

namespace kopertal {
namespace {

using namespace std::chrono_literals;

Q_LOGGING_CATEGORY(instanceLog, "kopertal.instance", QtWarningMsg)

constexpr std::size_t maxMessageBytes = 64UL * 1024;
constexpr int waitingStarts = 16;
constexpr auto answerTime = 5s;
constexpr auto retryTime = 50ms;
const auto fileKey = QStringLiteral("file");
const auto tokenKey = QStringLiteral("activationToken");
const QByteArray answer = QByteArrayLiteral("ok");

QByteArray encode(const StartMessage& message) {
    return QJsonDocument(QJsonObject{{fileKey, message.file}, {tokenKey, message.activationToken}})
        .toJson(QJsonDocument::Compact);
}

StartMessage decode(const QByteArray& bytes) {
    const QJsonObject message = QJsonDocument::fromJson(bytes).object();
    return {message[fileKey].toString(), message[tokenKey].toString()};
}

/// Nothing when the path is longer than a socket's may be.
std::optional<sockaddr_un> addressOf(const QByteArray& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (static_cast<std::size_t>(path.size()) >= sizeof address.sun_path)
        return std::nullopt;
    std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
    return address;
}

template <auto function>
bool at(const QByteArray& path, int socket) {
    const std::optional<sockaddr_un> address = addressOf(path);
    return address &&
           function(socket, reinterpret_cast<const sockaddr*>(&*address), sizeof *address) == 0;
}

int openSocket(int flags = 0) {
    return ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | flags, 0);
}

/// Whether all of the bytes went as one message.
bool sendMessage(int socket, const QByteArray& bytes) {
    return ::send(socket, bytes.constData(), static_cast<std::size_t>(bytes.size()),
                  MSG_NOSIGNAL) == bytes.size();
}

/// The next message; empty when there is none, or it is too long.
QByteArray receiveMessage(int socket) {
    QByteArray bytes(maxMessageBytes, Qt::Uninitialized);
    const ssize_t size = ::recv(socket, bytes.data(), maxMessageBytes, MSG_TRUNC);
    return size > 0 && size <= bytes.size() ? bytes.first(size) : QByteArray();
}

void limitWaiting(int socket, std::chrono::milliseconds time) {
    const auto micros = std::max(std::chrono::microseconds(time), std::chrono::microseconds(1));
    const timeval limit{micros / 1s, (micros % 1s).count()};
    for (const int direction : {SO_SNDTIMEO, SO_RCVTIMEO})
        ::setsockopt(socket, SOL_SOCKET, direction, &limit, sizeof limit);
}

} // namespace

SingleInstance::SingleInstance(const QString& folder, QObject* parent)
    : QObject(parent),
      m_socketPath(QFile::encodeName(folder + QStringLiteral("/kopertal.socket"))),
      m_lockPath(folder + QStringLiteral("/kopertal.lock")) {
}

bool SingleInstance::claim() {
    switch (m_lock.tryLock(m_lockPath)) {
    case FileLock::Outcome::taken:
        qCInfo(instanceLog, "okno jest już otwarte");
        return false;
    case FileLock::Outcome::impossible:
        qCInfo(instanceLog, "brak folderu na blokadę, okno działa samo");
        return true;
    case FileLock::Outcome::held:
        break;
    }
    listen();
    return true;
}

void SingleInstance::listen() {
    ::unlink(m_socketPath.constData()); // of a process that crashed
    m_server = std::make_unique<Descriptor>(openSocket(SOCK_NONBLOCK));
    if (!at<::bind>(m_socketPath, m_server->get()) ||
        ::chmod(m_socketPath.constData(), S_IRUSR | S_IWUSR) != 0 ||
        ::listen(m_server->get(), waitingStarts) != 0)
        return;
    auto* notifier = new QSocketNotifier(m_server->get(), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &SingleInstance::welcome);
}

void SingleInstance::welcome() {
    const auto connection = std::make_shared<Descriptor>(
        ::accept4(m_server->get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (connection->get() < 0)
        return;
    auto* notifier = new QSocketNotifier(connection->get(), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier, connection] {
        notifier->setEnabled(false);
        notifier->deleteLater();
        receive(connection->get());
    });
}

void SingleInstance::receive(int connection) {
    const QByteArray message = receiveMessage(connection);
    if (!message.isEmpty() && sendMessage(connection, answer)) {
        qCInfo(instanceLog, "następne uruchomienie przekazało polecenie");
        Q_EMIT started(decode(message));
    }
}

bool SingleInstance::handOver(const StartMessage& message) const {
    const QDeadlineTimer deadline(answerTime);
    while (!deadline.hasExpired()) {
        const Descriptor connection(openSocket());
        limitWaiting(connection.get(), std::chrono::milliseconds(deadline.remainingTime()));
        if (at<::connect>(m_socketPath, connection.get()))
            return sendMessage(connection.get(), encode(message)) &&
                   receiveMessage(connection.get()) == answer;
        QThread::msleep(static_cast<unsigned long>(retryTime.count())); // it may not listen yet
    }
    return false;
}

void SingleInstance::release() {
    qDeleteAll(findChildren<QSocketNotifier*>());
    m_server.reset();
    ::unlink(m_socketPath.constData());
    m_lock.unlock();
}

} // namespace kopertal
