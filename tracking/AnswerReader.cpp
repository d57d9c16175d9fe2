#include "tracking/AnswerReader.h"

#include "net/HttpClient.h"
#include "tracking/SoapAnswer.h"

#include <exception>
#include <new>
#include <system_error>
#include <utility>

namespace kopertal {
namespace {

TrackingResult failedResult(const HttpAnswer& answer) {
    TrackingResult result;
    result.status = TrackingStatus::networkError;
    result.lastEvent = failureText(answer);
    return result;
}

HttpAnswer failed(HttpFailure failure) {
    HttpAnswer answer;
    answer.failure = failure;
    return answer;
}

TrackingResult resultOf(const HttpAnswer& answer) {
    try {
        return answer.failure == HttpFailure::none ? parseAnswer(answer.text())
                                                   : failedResult(answer);
    } catch (const std::bad_alloc&) {
        return failedResult(failed(HttpFailure::noMemory));
    }
}

} // namespace

AnswerReader::~AnswerReader() {
    stop();
}

void AnswerReader::read(HttpAnswer answer, Promise promise) {
    Unread unread{std::move(answer), std::move(promise)};
    if (!isQueued(unread))
        finish(std::move(unread));
}

void AnswerReader::stop() {
    {
        const std::lock_guard lock(m_mutex);
        m_isStopped = true;
        m_changed.notify_one();
    }
    if (m_thread.joinable())
        m_thread.join();
    for (Unread& unread : m_unread) {
        unread.answer = failed(HttpFailure::cancelled);
        finish(std::move(unread));
    }
    m_unread.clear();
}

/// False, with `unread` as it is to be finished, when the thread does not take it.
bool AnswerReader::isQueued(Unread& unread) try {
    const std::lock_guard lock(m_mutex);
    if (m_isStopped) {
        unread.answer = failed(HttpFailure::cancelled);
        return false;
    }
    if (!m_thread.joinable())
        m_thread = std::thread([this] { run(); });
    m_unread.push_back(std::move(unread));
    m_changed.notify_one();
    return true;
} catch (const std::system_error&) {
    return false;
} catch (const std::bad_alloc&) {
    return false;
}

void AnswerReader::run() {
    std::unique_lock lock(m_mutex);
    while (true) {
        m_changed.wait(lock, [this] { return m_isStopped || !m_unread.empty(); });
        if (m_isStopped)
            return;
        Unread unread = std::move(m_unread.front());
        m_unread.pop_front();
        lock.unlock();
        finish(std::move(unread));
        lock.lock();
    }
}

void AnswerReader::finish(Unread unread) {
    try {
        const TrackingResult result = resultOf(unread.answer);
        unread.answer.body.reset();
        unread.promise->addResult(m_budget.finished(result));
    } catch (const std::bad_alloc&) {
        unread.promise->setException(std::current_exception());
    }
    unread.promise->finish();
}

} // namespace kopertal
