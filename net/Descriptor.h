#pragma once

#include <unistd.h>

namespace kopertal {

/// A file descriptor that is closed at the end; negative for none.
class Descriptor {
public:
    explicit Descriptor(int value) : m_value(value) {}
    ~Descriptor() {
        if (m_value >= 0)
            ::close(m_value);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return m_value; }

private:
    int m_value;
};

} // namespace kopertal
