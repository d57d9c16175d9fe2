#pragma once

#include "net/HttpCarrier.h"

#include <memory>

namespace kopertal {

/// What the module `http` exports as "kopertalHttpCarrier": a carrier, for the caller to own.
using MakeHttpCarrier = HttpCarrier*(const HttpOptions&);

/// A carrier out of the module `http`, which is loaded now and stays: libcurl is a third of all
/// that the window would load, and its first screen needs none of it. Without the module, the
/// carrier answers every request with a failure that says so.
std::unique_ptr<HttpCarrier> loadHttpCarrier(const HttpOptions& options);

} // namespace kopertal
