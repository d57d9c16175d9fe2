#include "scan/Utf8.h"

#include <cstddef>

namespace kopertal {
namespace {

/// What may follow a lead byte: how many bytes, and the bounds of the first of them. No length for
/// a byte that cannot lead.
struct Sequence {
    std::size_t trailing = 0;
    unsigned low = 0x80;
    unsigned high = 0xBF;
};

Sequence sequenceAfter(unsigned lead) {
    if (lead >= 0xC2 && lead <= 0xDF)
        return {1};
    if (lead >= 0xE0 && lead <= 0xEF)
        return {2, lead == 0xE0 ? 0xA0u : 0x80u, lead == 0xED ? 0x9Fu : 0xBFu};
    if (lead >= 0xF0 && lead <= 0xF4)
        return {3, lead == 0xF0 ? 0x90u : 0x80u, lead == 0xF4 ? 0x8Fu : 0xBFu};
    return {};
}

} // namespace

bool isUtf8(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto lead = static_cast<unsigned char>(bytes.front());
        bytes.remove_prefix(1);
        if (lead < 0x80)
            continue;
        const Sequence sequence = sequenceAfter(lead);
        if (sequence.trailing == 0 || bytes.size() < sequence.trailing)
            return false;
        const auto first = static_cast<unsigned char>(bytes.front());
        if (first < sequence.low || first > sequence.high)
            return false;
        for (std::size_t i = 1; i < sequence.trailing; ++i) {
            if ((static_cast<unsigned char>(bytes[i]) & 0xC0) != 0x80)
                return false;
        }
        bytes.remove_prefix(sequence.trailing);
    }
    return true;
}

} // namespace kopertal
