#include "scan/PhoneConnection.h"

#include <asio/error.hpp>
#include <asio/write.hpp>

#include <algorithm>
#include <utility>

namespace kopertal {

using asio::ip::tcp;

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

bool PhoneConnection::isExpendable() const {
    return m_step == Step::header || m_step == Step::discard;
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
    enter(Step::room, m_shared.limits.body);
    m_bodyDeadline = m_deadline;
    m_declared = upload.length;
    m_bodyStart = upload.bodyStart.substr(0, m_declared);
    m_shared.budget->reserve(
        m_declared, this, [this](Reservation reservation) { startBody(std::move(reservation)); });
}

void PhoneConnection::startBody(Reservation reservation) {
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
            self->m_deadline =
                std::min(Clock::now() + self->m_shared.limits.bodyIdle, self->m_bodyDeadline);
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
                          self->m_shared.answered();
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
    awaitRest();
}

void PhoneConnection::enter(Step step, Clock::duration limit) {
    m_step = step;
    m_deadline = Clock::now() + limit;
    if (step == Step::body)
        m_deadline = std::min(m_deadline, m_bodyDeadline);
    armTimer();
}

void PhoneConnection::armTimer() {
    m_timer.expires_at(m_deadline);
    m_timer.async_wait([self = shared_from_this()](const asio::error_code& error) {
        if (error || self->m_step == Step::closed)
            return;
        if (Clock::now() >= self->m_deadline)
            self->close();
        else
            self->armTimer();
    });
}

} // namespace kopertal
