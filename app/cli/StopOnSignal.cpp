#include "app/cli/StopOnSignal.h"

#include <csignal>
#include <pthread.h>

namespace kopertal {
namespace {

constexpr int wakeUp = SIGUSR2; // ends the waiting thread

sigset_t awaitedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, wakeUp})
        sigaddset(&signals, signal);
    return signals;
}

} // namespace

StopOnSignal::StopOnSignal() {
    const sigset_t signals = awaitedSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    m_waiter = std::thread([signals, source = m_source]() mutable {
        int signal = 0;
        while (sigwait(&signals, &signal) == 0 && signal != wakeUp)
            source.request_stop();
    });
}

StopOnSignal::~StopOnSignal() {
    pthread_kill(m_waiter.native_handle(), wakeUp);
    m_waiter.join();
    const sigset_t signals = awaitedSignals();
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

} // namespace kopertal
