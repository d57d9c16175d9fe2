#pragma once

#include "net/HttpMessage.h"
#include "tracking/ResultBudget.h"
#include "tracking/TrackingResult.h"

#include <QPromise>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

namespace kopertal {

/// Reads answers, one after the other, on a thread of its own, which starts with the first of them;
/// where the system has no thread to give, on the thread that brings them. Any thread.
///
/// Not Qt's pool: it waits without end for a thread that cannot start, and ends the process when a
/// thread finds no descriptor for the event loop that this work does not need.
class AnswerReader {
public:
    using Promise = std::shared_ptr<QPromise<TrackingResult>>;

    AnswerReader() = default;
    ~AnswerReader();
    AnswerReader(const AnswerReader&) = delete;
    AnswerReader& operator=(const AnswerReader&) = delete;

    /// A request begins, whose answer will be brought.
    void expect() { m_budget.started(); }

    /// Finishes `promise` with what the answer says, or with why there is none.
    void read(HttpAnswer answer, Promise promise);

    /// Finishes what is not read yet, and all that is brought from now on, as cancelled. Waits for
    /// one answer at most. Not on the thread of its own.
    void stop();

private:
    struct Unread {
        HttpAnswer answer;
        Promise promise;
    };

    bool isQueued(Unread& unread);
    void run();
    void finish(Unread unread);

    ResultBudget m_budget;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Unread> m_unread; // guarded
    bool m_isStopped = false;    // guarded
    std::thread m_thread;        // guarded until it is stopped
};

} // namespace kopertal
