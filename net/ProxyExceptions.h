#pragma once

#include <string>

namespace kopertal {

/// The hosts that are asked without a proxy: those that the environment names (no_proxy, else
/// NO_PROXY), and this machine under whatever address.
class ProxyExceptions {
public:
    /// Reads the environment.
    ProxyExceptions();

    /// For a request to `url`, as libcurl takes them. Throws std::bad_alloc.
    std::string forRequestTo(const std::string& url) const;

private:
    std::string m_hosts;
};

} // namespace kopertal
