// Apart from the client's other functions, so that who gives it a carrier does not link libcurl.
#include "net/HttpClient.h"
#include "net/HttpTransfers.h"

namespace kopertal {

HttpClient::HttpClient(const HttpOptions& options)
    : HttpClient(std::make_unique<HttpTransfers>(options)) {
}

} // namespace kopertal
