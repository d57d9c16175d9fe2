#pragma once

#include "scan/PhoneProtocol.h"
#include "scan/ReceivedPhoto.h"
#include "scan/ServerLimits.h"
#include "scan/UploadBudget.h"
#include "scan/UploadMemory.h"

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include <array>
#include <functional>
#include <memory>
#include <string>

namespace kopertal {

class PhoneConnection;

/// What all connections of one server share. Outlives them; used on the loop's thread only.
struct ConnectionShared {
    PhoneDocuments documents;
    ServerLimits limits;
    std::shared_ptr<UploadBudget> budget;
    std::function<void(ReceivedPhoto)> deliver;
    std::function<void()> becameExpendable; // a connection may now give way
    std::function<bool()> isAwaited;        // somebody has no room, or no connection
    std::function<void(PhoneConnection&)> closed;
    std::array<char, maxReadBytes> readBuffer{}; // one for all: nothing stays in it between reads
};

/// One connection: reads a header block, answers, collects an upload's body, then ends its output
/// and discards what still arrives, so that the peer can read the answer. Keeps itself alive until
/// it is closed, which a time limit ensures at every step.
class PhoneConnection : public std::enable_shared_from_this<PhoneConnection> {
public:
    using Clock = std::chrono::steady_clock;

    /// What its end would cost, the least first.
    enum class Worth {
        silent,   ///< it has said nothing yet
        answered, ///< it has its answer, which the peer may not have read
        waiting,  ///< an upload of which nothing was read, for want of room
        working,  ///< never to be closed for another's sake
    };

    PhoneConnection(asio::ip::tcp::socket socket, ConnectionShared& shared);

    void start();
    void close();

    Worth worth() const;
    /// Since when it has neither come to its present step nor got on in it.
    Clock::time_point idleSince() const { return m_idleSince; }

private:
    enum class Step { header, room, body, answer, discard, closed };

    void awaitHeader();
    void readHeader();
    void awaitRoom(const Upload& upload);
    void noticeLoss();
    void startBody(Reservation reservation);
    void readBody();
    void deliver();
    void send(Answer answer);
    void awaitRest();
    void discardRest();

    void enter(Step step, Clock::duration limit);
    void armTimer();
    bool isTooSlow() const;

    asio::ip::tcp::socket m_socket;
    asio::steady_timer m_timer;
    ConnectionShared& m_shared;
    Step m_step = Step::header;
    Clock::time_point m_deadline;  // of this step, moved on by progress
    Clock::time_point m_idleSince; // likewise
    Clock::time_point m_bodyBegin;
    std::string m_answer;
    std::string m_bodyStart; // while waiting for room
    std::shared_ptr<UploadMemory> m_body;
    std::size_t m_declared = 0;
    std::size_t m_collected = 0;
    std::size_t m_discarded = 0;
};

} // namespace kopertal
