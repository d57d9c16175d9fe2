#include "net/DescriptorLimit.h"

#include <algorithm>
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
        ++count;
    return count > 3 ? count - 3 : 0; // ".", ".." and the folder's own are none
}

} // namespace

void raiseDescriptorLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

std::size_t freeDescriptors() {
    rlimit limit{};
    const std::size_t used = openDescriptors();
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur <= used)
        return 0;
    return limit.rlim_cur - used;
}

std::size_t spareDescriptors() {
    const std::size_t free = freeDescriptors();
    return std::max(free - std::min(reserve, free / 2), std::size_t{1});
}

bool canOpenDescriptor() {
    const int descriptor = ::open("/", O_PATH | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    ::close(descriptor);
    return true;
}

} // namespace kopertal
