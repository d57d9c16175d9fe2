#pragma once

#include "scan/PhoneProtocol.h"

namespace kopertal {

/// The documents that the program carries for the phone.
PhoneDocuments phonePages();

} // namespace kopertal
