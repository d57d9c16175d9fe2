#pragma once

#include <QList>

#include <arpa/inet.h>
#include <sys/socket.h>

namespace kopertal::testing {

/// Ports on which this process accepts connections.
inline QList<int> listeningPorts() {
    QList<int> ports;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        int isListening = 0;
        socklen_t size = sizeof isListening;
        sockaddr_in6 address{};
        socklen_t addressSize = sizeof address;
        if (getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &isListening, &size) == 0 &&
            isListening &&
            getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &addressSize) == 0)
            ports << ntohs(address.sin6_port); // at the same place for IPv4
    }
    return ports;
}

} // namespace kopertal::testing
