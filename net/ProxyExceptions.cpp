#include "net/ProxyExceptions.h"

#include <cstdlib>

namespace kopertal {
namespace {

constexpr auto loopback = "localhost,127.0.0.0/8,::1,::ffff:127.0.0.0/104";

} // namespace

std::string proxyExceptions() {
    const char* named = std::getenv("no_proxy");
    if (!named || !*named)
        named = std::getenv("NO_PROXY");
    const std::string exceptions = named ? named : "";
    if (exceptions == "*") // only means "all" when it stands alone
        return exceptions;
    return exceptions.empty() ? loopback : exceptions + ',' + loopback;
}

} // namespace kopertal
