#include "scan/WorkerSandbox.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <linux/close_range.h>
#include <memory>
#include <poll.h>
#include <sched.h>
#include <seccomp.h>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace kopertal {
namespace {

constexpr rlim_t secondsToAnswer = 5; // after the processor time that is granted

/// What computing, waiting for one another and writing an answer take.
constexpr std::array allowed{
    SCMP_SYS(alarm),
    SCMP_SYS(brk),
    SCMP_SYS(clock_gettime),
    SCMP_SYS(clock_nanosleep),
    SCMP_SYS(close),
    SCMP_SYS(eventfd2), // Qt converts larger pictures on threads, which are woken by it
    SCMP_SYS(exit),
    SCMP_SYS(exit_group),
    SCMP_SYS(futex),
    SCMP_SYS(getcpu),
    SCMP_SYS(getpid),
    SCMP_SYS(getrandom),
    SCMP_SYS(getrusage),
    SCMP_SYS(gettid),
    SCMP_SYS(gettimeofday),
    SCMP_SYS(lseek),
    SCMP_SYS(madvise),
    SCMP_SYS(membarrier),
    SCMP_SYS(mmap),
    SCMP_SYS(mprotect),
    SCMP_SYS(mremap),
    SCMP_SYS(munmap),
    SCMP_SYS(nanosleep),
    SCMP_SYS(poll),
    SCMP_SYS(ppoll),
    SCMP_SYS(read),
    SCMP_SYS(restart_syscall),
    SCMP_SYS(rseq),
    SCMP_SYS(rt_sigaction),
    SCMP_SYS(rt_sigprocmask),
    SCMP_SYS(rt_sigreturn),
    SCMP_SYS(sched_getaffinity),
    SCMP_SYS(sched_yield),
    SCMP_SYS(set_robust_list),
    SCMP_SYS(setitimer), // how the C library does alarm() on other processors
    SCMP_SYS(sigaltstack),
    SCMP_SYS(sysinfo),
    SCMP_SYS(tgkill),
    SCMP_SYS(write),
    SCMP_SYS(writev),
#ifdef __SANITIZE_ADDRESS__
    SCMP_SYS(pipe),
    SCMP_SYS(pipe2), // how the sanitizers find out what memory is readable
#endif
};

struct ReleaseFilter {
    void operator()(void* filter) const { seccomp_release(filter); }
};

/// 0, or the error's number.
int forbidSystemCalls() {
    const std::unique_ptr<void, ReleaseFilter> filter(seccomp_init(SCMP_ACT_ERRNO(EPERM)));
    if (!filter)
        return ENOMEM;
    int error = 0;
    const auto add = [&](uint32_t action, int call) {
        if (error == 0)
            error = -seccomp_rule_add(filter.get(), action, call, 0);
    };
    for (const int call : allowed)
        add(SCMP_ACT_ALLOW, call);
    // Threads, but no processes; the newer call hides its flags from filters, without it the C
    // library takes the older one.
    add(SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3));
    if (error == 0)
        error = -seccomp_rule_add(filter.get(), SCMP_ACT_ALLOW, SCMP_SYS(clone), 1,
                                  SCMP_A0(SCMP_CMP_MASKED_EQ, CLONE_THREAD, CLONE_THREAD));
    return error != 0 ? error : -seccomp_load(filter.get());
}

bool limit(__rlimit_resource resource, rlim_t soft, rlim_t hard) {
    const rlimit limits{soft, hard};
    return setrlimit(resource, &limits) == 0;
}

} // namespace

QString enterSandbox(const WorkerLimits& limits) {
    const auto describe = [](int error) {
        return QString::fromStdString(std::generic_category().message(error));
    };
    close_range(STDERR_FILENO + 1, ~0U, 0);
#ifndef __SANITIZE_ADDRESS__ // its shadow memory counts, too
    if (!limit(RLIMIT_DATA, limits.memory, limits.memory))
        return describe(errno);
#endif
    const auto processor = static_cast<rlim_t>(limits.processor.count());
    if (!limit(RLIMIT_CPU, processor, processor + secondsToAnswer) || !limit(RLIMIT_CORE, 0, 0) ||
        prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return describe(errno);
    const int error = forbidSystemCalls();
    return error == 0 ? QString() : describe(error);
}

void exitWithReader() {
    std::thread([] {
        pollfd output{STDOUT_FILENO, 0, 0};
        while (poll(&output, 1, -1) < 0 && errno == EINTR) {
        }
        _exit(EXIT_FAILURE);
    }).detach();
}

} // namespace kopertal
