// Apart from the client's other functions, so that who gives it a carrier does not link libcurl.
#include "net/HttpClient.h"
#include "net/HttpTransfers.h"

#include <utility>

namespace kopertal {

HttpClient::HttpClient(HttpOptions options)
    : HttpClient(std::make_unique<HttpTransfers>(std::move(options))) {
}

} // namespace kopertal
