#include "net/ProxyExceptions.h"

#include <curl/curl.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cstdlib>
#include <memory>
#include <netinet/in.h>
#include <new>

namespace kopertal {
namespace {

constexpr auto loopback = "localhost,127.0.0.0/8,0.0.0.0,::1,::";
constexpr auto everyHost = "*"; // only when it stands alone

std::string namedByEnvironment() {
    const char* named = std::getenv("no_proxy");
    if (!named || !*named)
        named = std::getenv("NO_PROXY");
    return named ? named : "";
}

/// The IPv6 address in place of a name, or nothing.
std::string ipv6AddressIn(const std::string& url) {
    const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> parsed(curl_url(), &curl_url_cleanup);
    char* part = nullptr;
    if (!parsed)
        throw std::bad_alloc();
    if (curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK ||
        curl_url_get(parsed.get(), CURLUPART_HOST, &part, 0) != CURLUE_OK)
        return {};
    const std::unique_ptr<char, decltype(&curl_free)> owned(part, &curl_free);
    const std::string host = part;
    return host.starts_with('[') && host.ends_with(']') ? host.substr(1, host.size() - 2) : "";
}

bool isThisMachine(const std::string& ipv6Address) {
    in6_addr address{};
    if (inet_pton(AF_INET6, ipv6Address.c_str(), &address) != 1)
        return false;
    if (!IN6_IS_ADDR_V4MAPPED(&address))
        return IN6_IS_ADDR_LOOPBACK(&address) || IN6_IS_ADDR_UNSPECIFIED(&address);
    const auto* const ipv4 = address.s6_addr + 12;
    return ipv4[0] == 127 || std::all_of(ipv4, ipv4 + 4, [](auto byte) { return byte == 0; });
}

} // namespace

ProxyExceptions::ProxyExceptions() : m_hosts(namedByEnvironment()) {
    if (m_hosts != everyHost)
        m_hosts += (m_hosts.empty() ? "" : ",") + std::string(loopback);
}

/// The library compares IPv6 addresses as texts, and one address has many of them.
std::string ProxyExceptions::forRequestTo(const std::string& url) const {
    if (m_hosts == everyHost)
        return m_hosts;
    const std::string address = ipv6AddressIn(url);
    return isThisMachine(address) ? m_hosts + ',' + address : m_hosts;
}

} // namespace kopertal
