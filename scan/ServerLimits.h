#pragma once

#include <chrono>
#include <cstddef>

namespace kopertal {

/// What one server grants the local network. The phone's page gives up on an upload after 10 s, so
/// longer times only serve other senders.
struct ServerLimits {
    /// From the connection to its first bytes. Browsers open connections ahead of need and leave
    /// them silent.
    std::chrono::milliseconds header{10'000};
    /// Between two reads of a body: a phone that has lost its Wi-Fi for longer has given up.
    std::chrono::milliseconds bodyIdle{10'000};
    /// A whole body: 50 MiB over a poor link of 7 Mbit/s.
    std::chrono::milliseconds body{60'000};
    /// An upload's wait for room, before any of its body: the phone has given up by then.
    std::chrono::milliseconds room{10'000};
    /// While others wait for what an upload takes up, it must get on: after the grace, which is a
    /// phone's short loss of Wi-Fi and leaves a waiting phone most of its 10 s, it must be on
    /// course to be whole within the pace, a third of the speed that a phone's 10 s need. With
    /// nobody waiting, only the times above bind.
    std::chrono::milliseconds paceGrace{3'000};
    std::chrono::milliseconds pace{30'000};
    /// An answer is a few kilobytes: a peer that takes none of it for this long is gone.
    std::chrono::milliseconds answer{10'000};
    /// After the answer, for what the peer is still sending: a phone reads the answer to an upload
    /// only when it has sent everything, which it tries for 10 s.
    std::chrono::milliseconds discard{12'000};
    /// Twice the largest raw photos of today's phones, with room.
    std::size_t discardBytes = 268'435'456;
    /// Well below the usual limit of 1,024 descriptors per process, well above one office's phones.
    std::size_t connections = 512;
    /// All uploads together, from their reservation until the photo is let go: 64 usual photos of
    /// 4 MB, or five of the largest.
    std::size_t heldBytes = 268'435'456;
};

} // namespace kopertal
