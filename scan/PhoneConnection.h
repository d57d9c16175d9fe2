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
    std::function<void()> answered; // a connection has become expendable
    std::function<void(PhoneConnection&)> closed;
    std::array<char, maxReadBytes> readBuffer{}; // one for all: nothing stays in it between reads
};

/// One connection: reads a header block, answers, collects an upload's body, then ends its output
/// and discards what still arrives, so that the peer can read the answer. Keeps itself alive until
/// it is closed, which a time limit ensures at every step.
class PhoneConnection : public std::enable_shared_from_this<PhoneConnection> {
public:
    PhoneConnection(asio::ip::tcp::socket socket, ConnectionShared& shared);

    void start();
    void close();

    /// Whether nobody loses anything when it is closed now: it has said nothing yet, or has its
    /// answer.
    bool isExpendable() const;

private:
    using Clock = std::chrono::steady_clock;
    enum class Step { header, room, body, answer, discard, closed };

    void awaitHeader();
    void readHeader();
    void awaitRoom(const Upload& upload);
    void startBody(Reservation reservation);
    void readBody();
    void deliver();
    void send(Answer answer);
    void awaitRest();
    void discardRest();

    void enter(Step step, Clock::duration limit);
    void armTimer();

    asio::ip::tcp::socket m_socket;
    asio::steady_timer m_timer;
    ConnectionShared& m_shared;
    Step m_step = Step::header;
    Clock::time_point m_deadline;     // of this step, moved on by progress
    Clock::time_point m_bodyDeadline; // of the whole upload
    std::string m_answer;
    std::string m_bodyStart; // while waiting for room
    std::shared_ptr<UploadMemory> m_body;
    std::size_t m_declared = 0;
    std::size_t m_collected = 0;
    std::size_t m_discarded = 0;
};

} // namespace kopertal
