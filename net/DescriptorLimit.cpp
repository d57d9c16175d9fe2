#include "net/DescriptorLimit.h"

#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/resource.h>
#include <unistd.h>

namespace kopertal {
namespace {

constexpr std::size_t reserve = 64; // for files, pipes and the phone's connections

std::size_t openDescriptors() {
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir("/proc/self/fd"), &closedir);
    std::size_t count = 0;
    while (folder && readdir(folder.get()))
        ++count; // and three that are none: ".", ".." and the folder's own
    return count;
}

} // namespace

void raiseDescriptorLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

std::size_t spareDescriptors() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return 1;
    const std::size_t used = openDescriptors() + reserve;
    return limit.rlim_cur > used ? limit.rlim_cur - used : 1;
}

bool canOpenDescriptor() {
    const int descriptor = ::open("/", O_PATH | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    ::close(descriptor);
    return true;
}

} // namespace kopertal
