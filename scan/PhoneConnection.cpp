#include "scan/PhoneConnection.h"

#include <asio/error.hpp>
#include <asio/write.hpp>

#include <algorithm>
#include <utility>

namespace kopertal {

using asio::ip::tcp;

namespace {

/// How often an upload looks whether it is in others' way.
constexpr std::chrono::milliseconds paceCheck{250};

} // namespace

PhoneConnection::PhoneConnection(tcp::socket socket, ConnectionShared& shared)
    : m_socket(std::move(socket)), m_timer(m_socket.get_executor()), m_shared(shared) {
}

void PhoneConnection::start() {
    asio::error_code error;
    m_socket.non_blocking(true, error);
    enter(Step::header, m_shared.limits.header);
    awaitHeader();
}

void PhoneConnection::close() {
    if (m_step == Step::closed)
        return;
    m_step = Step::closed;
    m_shared.budget->withdraw(this);
    m_timer.cancel();
    asio::error_code error;
    m_socket.close(error);
    m_body.reset();
    m_shared.closed(*this);
}

PhoneConnection::Worth PhoneConnection::worth() const {
    switch (m_step) {
    case Step::header:
        return Worth::silent;
    case Step::discard:
        return Worth::answered;
    case Step::room:
        return Worth::waiting;
    default:
        return Worth::working;
    }
}

void PhoneConnection::awaitHeader() {
    m_socket.async_wait(tcp::socket::wait_read,
                        [self = shared_from_this()](const asio::error_code& error) {
                            if (error)
                                self->close();
                            else
                                self->readHeader();
                        });
}

void PhoneConnection::readHeader() {
    asio::error_code error;
    const std::size_t count = m_socket.read_some(asio::buffer(m_shared.readBuffer), error);
    if (error == asio::error::would_block)
        return awaitHeader();
    if (error)
        return close();
    const Decision decision = decide({m_shared.readBuffer.data(), count});
    if (const Answer* answer = std::get_if<Answer>(&decision))
        send(*answer);
    else if (const Upload* upload = std::get_if<Upload>(&decision))
        awaitRoom(*upload);
    else
        close();
}

void PhoneConnection::awaitRoom(const Upload& upload) {
    enter(Step::room, m_shared.limits.room);
    m_declared = upload.length;
    m_bodyStart = upload.bodyStart.substr(0, m_declared);
    asio::error_code error;
    const tcp::endpoint peer = m_socket.remote_endpoint(error);
    m_shared.budget->reserve(m_declared, {peer.address(), this}, [this](Reservation reservation) {
        startBody(std::move(reservation));
    });
    if (m_step == Step::room) {
        noticeLoss();
        m_shared.becameExpendable();
    }
}

/// While nothing is read, a lost peer would go unnoticed. An orderly end is none: its body may be
/// all there.
void PhoneConnection::noticeLoss() {
    m_socket.async_wait(tcp::socket::wait_error,
                        [self = shared_from_this()](const asio::error_code& error) {
                            if (!error && self->m_step == Step::room)
                                self->close();
                        });
}

void PhoneConnection::startBody(Reservation reservation) {
    asio::error_code error;
    m_socket.cancel(error); // the wait for a loss
    m_bodyBegin = Clock::now();
    m_body = std::make_shared<UploadMemory>(m_declared, std::move(reservation));
    m_collected = std::exchange(m_bodyStart, {}).copy(m_body->data(), m_declared);
    if (m_collected == m_declared)
        return deliver();
    enter(Step::body, m_shared.limits.bodyIdle);
    readBody();
}

void PhoneConnection::readBody() {
    m_socket.async_read_some(
        asio::buffer(m_body->data() + m_collected, m_declared - m_collected),
        [self = shared_from_this()](const asio::error_code& error, std::size_t count) {
            if (self->m_step != Step::body)
                return;
            self->m_collected += count;
            if (self->m_collected == self->m_declared || error == asio::error::eof)
                return self->deliver();
            if (error)
                return self->close();
            self->m_idleSince = Clock::now();
            self->m_deadline = std::min(self->m_idleSince + self->m_shared.limits.bodyIdle,
                                        self->m_bodyBegin + self->m_shared.limits.body);
            self->readBody();
        });
}

void PhoneConnection::deliver() {
    send(Answer::accepted);
    m_body->shrink(m_collected);
    const std::size_t start = photoStart({m_body->data(), m_collected});
    const std::shared_ptr<const char[]> bytes(m_body, m_body->data());
    m_body.reset();
    m_shared.deliver(ReceivedPhoto(bytes, m_collected, start));
}

void PhoneConnection::send(Answer answer) {
    enter(Step::answer, m_shared.limits.answer);
    m_answer = answerBytes(answer, m_shared.documents);
    asio::async_write(m_socket, asio::buffer(m_answer),
                      [self = shared_from_this()](asio::error_code error, std::size_t) {
                          if (!error)
                              self->m_socket.shutdown(tcp::socket::shutdown_send, error);
                          if (error)
                              return self->close();
                          self->enter(Step::discard, self->m_shared.limits.discard);
                          self->awaitRest();
                          self->m_shared.becameExpendable();
                      });
}

void PhoneConnection::awaitRest() {
    m_socket.async_wait(tcp::socket::wait_read,
                        [self = shared_from_this()](const asio::error_code& error) {
                            if (error)
                                self->close();
                            else
                                self->discardRest();
                        });
}

void PhoneConnection::discardRest() {
    asio::error_code error;
    m_discarded += m_socket.read_some(asio::buffer(m_shared.readBuffer), error);
    if ((error && error != asio::error::would_block) || m_discarded > m_shared.limits.discardBytes)
        return close();
    m_idleSince = Clock::now();
    awaitRest();
}

void PhoneConnection::enter(Step step, Clock::duration limit) {
    m_step = step;
    m_idleSince = Clock::now();
    m_deadline = m_idleSince + limit;
    armTimer();
}

void PhoneConnection::armTimer() {
    m_timer.expires_at(m_step == Step::body ? std::min(m_deadline, Clock::now() + paceCheck)
                                            : m_deadline);
    m_timer.async_wait([self = shared_from_this()](const asio::error_code& error) {
        if (error || self->m_step == Step::closed)
            return;
        const bool isInTheWay = self->isTooSlow() && self->m_shared.isAwaited();
        if (Clock::now() >= self->m_deadline || isInTheWay)
            self->close();
        else
            self->armTimer();
    });
}

bool PhoneConnection::isTooSlow() const {
    const auto late = Clock::now() - m_bodyBegin - m_shared.limits.paceGrace;
    if (m_step != Step::body || late <= Clock::duration::zero())
        return false;
    const std::chrono::duration<double> pace = m_shared.limits.pace;
    return static_cast<double>(m_collected) < static_cast<double>(m_declared) * (late / pace);
}

} // namespace kopertal
