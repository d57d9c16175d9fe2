#pragma once

#include <unistd.h>

namespace kopertal::test {

/// While it lives, the process has an ordinary user's rights to files, also where the tests run as
/// root, who may write everywhere.
class OrdinaryUser {
public:
    OrdinaryUser() : m_wasRoot(geteuid() == 0 && seteuid(nobody) == 0) {}
    ~OrdinaryUser() {
        if (m_wasRoot && seteuid(0) != 0)
            _exit(1);
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    static constexpr uid_t nobody = 65534;
    bool m_wasRoot;
};

} // namespace kopertal::test
