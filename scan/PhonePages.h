#pragma once

#include "scan/PhoneProtocol.h"

namespace kopertal {

/// The documents that the program carries for the phone. Throws std::runtime_error when it was
/// built without them.
PhoneDocuments phonePages();

} // namespace kopertal
