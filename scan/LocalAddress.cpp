#include "scan/LocalAddress.h"

#include <cerrno>
#include <chrono>
#include <climits>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <optional>
#include <systemd/sd-bus.h>
#include <unistd.h>

namespace kopertal {
namespace {

/// The responder is on this computer and answers within milliseconds, or not at all.
constexpr std::chrono::milliseconds responderTimeout{1000};

struct CloseBus {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};

struct Answer {
    bool hasCome = false;
    std::optional<QString> name;
};

int takeAnswer(sd_bus_message* message, void* answer, sd_bus_error*) {
    const char* name = nullptr;
    static_cast<Answer*>(answer)->hasCome = true;
    if (!sd_bus_message_is_method_error(message, nullptr) &&
        sd_bus_message_read_basic(message, SD_BUS_TYPE_STRING, &name) > 0)
        static_cast<Answer*>(answer)->name = QString::fromUtf8(name).trimmed();
    return 0;
}

bool askName(sd_bus* bus, Answer& answer) {
    sd_bus_message* question = nullptr;
    const bool isAsked =
        sd_bus_message_new_method_call(bus, &question, "org.freedesktop.Avahi", "/",
                                       "org.freedesktop.Avahi.Server", "GetHostName") >= 0 &&
        sd_bus_message_set_auto_start(question, 0) >= 0 &&
        sd_bus_call_async(bus, nullptr, question, takeAnswer, &answer, 0) >= 0;
    sd_bus_message_unref(question);
    return isAsked;
}

/// The connecting is part of what is waited for: a bus that hangs costs no more than a responder
/// that does.
std::optional<QString> announcedName() {
    using Clock = std::chrono::steady_clock;
    sd_bus* opened = nullptr;
    if (sd_bus_open_system(&opened) < 0)
        return {};
    const std::unique_ptr<sd_bus, CloseBus> bus(opened);
    Answer answer;
    if (!askName(bus.get(), answer))
        return {};
    const auto end = Clock::now() + responderTimeout;
    while (!answer.hasCome) {
        const int processed = sd_bus_process(bus.get(), nullptr);
        const auto left =
            std::chrono::duration_cast<std::chrono::microseconds>(end - Clock::now()).count();
        if (processed < 0 || left <= 0)
            return {};
        if (processed > 0)
            continue;
        const int waited = sd_bus_wait(bus.get(), static_cast<std::uint64_t>(left));
        if (waited < 0 && waited != -EINTR)
            return {};
    }
    return answer.name;
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
