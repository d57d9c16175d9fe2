#pragma once

#include <QString>

namespace kopertal {

/// A function out of a module; none without an address, and then `problem` says why, for the user.
struct LateFunction {
    void* address = nullptr;
    QString problem;

    template <class Function>
    Function* as() const {
        return reinterpret_cast<Function*>(address);
    }
};

/// What `module`, of those in ../lib/kopertal beside the program's folder, exports as `symbol`. The
/// module is loaded by the first call and stays: for what the window's picture does without.
/// A module that an update has replaced since the start is refused. On any thread.
LateFunction lateFunction(const char* module, const char* symbol);

} // namespace kopertal
