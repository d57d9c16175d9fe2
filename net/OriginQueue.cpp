#include "net/OriginQueue.h"

#include <utility>

namespace kopertal {
namespace {

constexpr std::chrono::milliseconds longestHold{1'000};

} // namespace

Order::Order(HttpRequest wanted, HttpTransfers::Completion completion)
    : request(std::move(wanted)), m_completion(std::move(completion)) {
}

Order::Order(Order&& other) noexcept
    : request(std::move(other.request)),
      mayWait(other.mayWait),
      m_completion(std::exchange(other.m_completion, nullptr)),
      m_load(std::exchange(other.m_load, nullptr)) {
}

Order::~Order() {
    fail(HttpFailure::noMemory);
    if (m_load)
        --*m_load;
}

void Order::countIn(std::atomic<std::size_t>& load) {
    m_load = &load;
    ++load;
}

void Order::complete(HttpAnswer answer) {
    if (const auto completion = std::exchange(m_completion, nullptr))
        completion(std::move(answer));
}

void Order::fail(HttpFailure failure) {
    HttpAnswer answer;
    answer.failure = failure;
    complete(std::move(answer));
}

void OriginQueue::push(Order&& order) {
    if (m_orders.empty())
        m_opensAt = Clock::now() + longestHold;
    m_orders.push_back(std::move(order));
}

void OriginQueue::pushFront(Order&& order) {
    m_orders.push_front(std::move(order));
}

std::optional<Order> OriginQueue::next() {
    const bool isOverdue = m_connecting > 0 && Clock::now() >= m_opensAt;
    const bool isHeld = m_mayShare && m_connecting > 0 && !isOverdue;
    if (m_orders.empty() || isHeld)
        return std::nullopt;
    Order order = std::move(m_orders.front());
    m_orders.pop_front();
    order.mayWait = !isOverdue; // a connection that hangs must not hold up the others
    return order;
}

void OriginQueue::cancelAll() {
    for (Order& order : m_orders)
        order.fail(HttpFailure::cancelled);
    m_orders.clear();
}

void OriginQueue::connected(bool isShared) {
    --m_connecting;
    m_mayShare = m_mayShare && isShared;
}

void OriginQueue::failedToConnect() {
    --m_connecting;
    m_opensAt = Clock::now(); // the others shall not fail one after the other
}

std::string originOf(const std::string& url) {
    const std::size_t host = url.find("://");
    return host == std::string::npos ? url : url.substr(0, url.find_first_of("/?#", host + 3));
}

} // namespace kopertal
