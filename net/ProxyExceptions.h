#pragma once

#include <string>

namespace kopertal {

/// The hosts that no proxy is asked for, as libcurl takes them: those that the environment names
/// (no_proxy, else NO_PROXY) and this machine under all its loopback names.
std::string proxyExceptions();

} // namespace kopertal
