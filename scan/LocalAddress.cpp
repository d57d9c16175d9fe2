#include "scan/LocalAddress.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include <chrono>
#include <climits>
#include <future>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <optional>
#include <thread>
#include <unistd.h>

namespace kopertal {
namespace {

/// The responder is on this computer and answers within milliseconds, or not at all.
constexpr std::chrono::milliseconds responderTimeout{1000};

std::optional<QString> askResponder() {
    QDBusMessage question = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Avahi"), QStringLiteral("/"),
        QStringLiteral("org.freedesktop.Avahi.Server"), QStringLiteral("GetHostName"));
    question.setAutoStartService(false);
    const QDBusMessage answer =
        QDBusConnection::systemBus().call(question, QDBus::Block, responderTimeout.count());
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != u"s")
        return {};
    return answer.arguments().constFirst().toString().trimmed();
}

/// On a thread of its own, left behind where it hangs: connecting to the bus knows no time limit.
std::optional<QString> announcedName() {
    std::promise<std::optional<QString>> promise;
    std::future<std::optional<QString>> name = promise.get_future();
    std::thread([promise = std::move(promise)]() mutable {
        promise.set_value(askResponder());
    }).detach();
    if (name.wait_for(responderTimeout) != std::future_status::ready)
        return {};
    return name.get();
}

std::optional<QString> systemName() {
    char buffer[HOST_NAME_MAX + 1] = {};
    if (gethostname(buffer, sizeof buffer) != 0)
        return {};
    const QString name = QString::fromUtf8(buffer).section(u'.', 0, 0).trimmed();
    if (name.isEmpty() || name.contains(QChar::ReplacementCharacter))
        return {};
    return name;
}

} // namespace

QString localIPAddress() {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0)
        list = nullptr;
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> interfaces(list, freeifaddrs);
    return firstUsableAddress(list);
}

QString firstUsableAddress(const ifaddrs* interfaces) {
    for (const ifaddrs* entry = interfaces; entry; entry = entry->ifa_next) {
        if (!(entry->ifa_flags & IFF_UP) || (entry->ifa_flags & IFF_LOOPBACK) || !entry->ifa_addr ||
            entry->ifa_addr->sa_family != AF_INET)
            continue;
        char text[NI_MAXHOST] = {};
        if (getnameinfo(entry->ifa_addr, sizeof(sockaddr_in), text, sizeof text, nullptr, 0,
                        NI_NUMERICHOST) == 0)
            return QString::fromLatin1(text);
    }
    return QStringLiteral("127.0.0.1");
}

QString localHostname() {
    std::optional<QString> name = announcedName();
    if (!name)
        name = systemName();
    return name.value_or(QStringLiteral("Mac")) + QStringLiteral(".local");
}

QString pairingURL(const QString& pairingPage) {
    return pairingURL(pairingPage, localHostname());
}

QString pairingURL(const QString& pairingPage, const QString& hostname) {
    return pairingPage + QStringLiteral("?h=") + hostname + QStringLiteral("&p=") +
           QString::number(pairedPort);
}

QString directPairingURL(const QString& hostname) {
    return QStringLiteral("http://") + hostname + u':' + QString::number(pairedPort) +
           QStringLiteral("/pair");
}

} // namespace kopertal
