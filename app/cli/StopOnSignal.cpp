#include "app/cli/StopOnSignal.h"

#include <csignal>
#include <pthread.h>
#include <unistd.h>

namespace kopertal {
namespace {

constexpr int wakeUp = SIGUSR2; // ends the waiting thread

/// Without those that the starter wants ignored (nohup, a shell's background jobs).
sigset_t awaitedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, wakeUp);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action;
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
            sigaddset(&signals, signal);
    }
    return signals;
}

/// Stops the work at the first signal, the process at the second.
void waitForSignals(const sigset_t& signals, std::stop_source& source) {
    int signal = 0;
    while (sigwait(&signals, &signal) == 0 && signal != wakeUp) {
        if (!source.request_stop())
            _exit(128 + signal);
    }
}

} // namespace

StopOnSignal::StopOnSignal() {
    const sigset_t signals = awaitedSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    m_waiter =
        std::thread([signals, source = m_source]() mutable { waitForSignals(signals, source); });
}

StopOnSignal::~StopOnSignal() {
    pthread_kill(m_waiter.native_handle(), wakeUp);
    m_waiter.join();
    const sigset_t signals = awaitedSignals();
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

} // namespace kopertal
