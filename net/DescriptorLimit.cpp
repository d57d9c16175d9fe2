#include "net/DescriptorLimit.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <sys/resource.h>
#include <system_error>

namespace kopertal {
namespace {

constexpr std::size_t reserve = 64; // for files, pipes and the phone's connections

std::size_t openDescriptors() {
    std::error_code error;
    const std::filesystem::directory_iterator entries("/proc/self/fd", error);
    return error ? 0 : static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
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

} // namespace kopertal
