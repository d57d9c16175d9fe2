#pragma once

#include "net/HttpMessage.h"

#include <curl/curl.h>

namespace kopertal {

/// What kept a transfer, which has ended with `code`, from being answered.
HttpFailure failureOf(CURL* easy, CURLcode code, const HttpRequest& request);

/// Whether an address is an https one.
bool isHttps(const char* url);

} // namespace kopertal
