#pragma once

#include <tuple>
#include <unistd.h>

namespace kopertal::test {

/// While it lives, a process of root, who may write everywhere, has an ordinary user's rights to
/// files.
class OrdinaryUser {
public:
    OrdinaryUser() { std::ignore = seteuid(65534); } // which nobody else can
    ~OrdinaryUser() { std::ignore = seteuid(getuid()); }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
};

} // namespace kopertal::test
