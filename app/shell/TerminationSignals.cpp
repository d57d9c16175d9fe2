#include "app/shell/TerminationSignals.h"

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace kopertal {
namespace {

constexpr int awaited[] = {SIGTERM, SIGINT, SIGHUP};
volatile sig_atomic_t wakeUpEnd = -1;

/// A pipe's write is all that a signal handler may do.
void wakeUp(int) {
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(wakeUpEnd, &byte, 1);
}

void handleWith(void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    for (const int signal : awaited)
        sigaction(signal, &action, nullptr);
}

} // namespace

TerminationSignals::TerminationSignals(QObject* parent) : QObject(parent) {
    if (pipe2(m_ends, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    wakeUpEnd = m_ends[1];
    auto* notifier = new QSocketNotifier(m_ends[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        char bytes[16];
        while (read(m_ends[0], bytes, sizeof bytes) > 0) {
        }
        Q_EMIT terminationRequested();
    });
    handleWith(wakeUp);
}

TerminationSignals::~TerminationSignals() {
    handleWith(SIG_DFL);
    wakeUpEnd = -1;
    for (const int end : m_ends) {
        if (end >= 0)
            close(end);
    }
}

} // namespace kopertal
