#pragma once

#include "scan/ScanServer.h"

#include <QFuture>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>

namespace kopertal {

/// What came of the start of a phone server.
struct StartedServer {
    std::shared_ptr<ScanServer> server; ///< Listening on its port; null when it could not be.
    QString error;                      ///< Then why, for the user.
    bool isPortTaken = false;           ///< Then whether another program has the port.
};

/// Starts a server on `fixedPort`, or on a free port that the system chooses, away from the calling
/// thread. A port that cannot be had is tried again for a second: it may just be let go. Nobody
/// needs to stop what comes too late: the server ends with the last who holds it, and a cancelled
/// future holds none. `onPhoto` is called on the main thread and may outlive the caller for a
/// moment.
QFuture<StartedServer> startScanServer(std::optional<std::uint16_t> fixedPort = {},
                                       ScanServer::PhotoCallback onPhoto = {});

} // namespace kopertal
