#pragma once

#include <QAbstractEventDispatcher>
#include <QTest>

#include <algorithm>
#include <ctime>
#include <utility>

namespace kopertal::testing {

/// How long the main thread works from one wait for events to the next.
class StallMeter {
public:
    StallMeter() {
        const auto* dispatcher = QAbstractEventDispatcher::instance();
        for (const auto signal :
             {&QAbstractEventDispatcher::awake, &QAbstractEventDispatcher::aboutToBlock})
            QObject::connect(dispatcher, signal, &m_context, [this] { look(); });
        m_last = now();
    }

    /// Prints the longest stall since the last report.
    void report(const char* what) {
        look();
        QTest::qWait(50);
        qInfo("%s: %.1f ms at a time", what, m_stall);
        m_longest = std::max(m_longest, m_stall);
        m_stall = 0;
        m_last = now();
    }

    double longest() const { return m_longest; }

private:
    void look() {
        const double time = now();
        m_stall = std::max(m_stall, time - std::exchange(m_last, time));
    }

    static double now() {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
    }

    QObject m_context;
    double m_last = 0;
    double m_stall = 0;
    double m_longest = 0;
};

} // namespace kopertal::testing
