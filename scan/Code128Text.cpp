#include "scan/Code128Text.h"

namespace kopertal {
namespace {

// ISO/IEC 15417, table 1: six widths a symbol.
constexpr const char* widths =
    "212222222122222221121223121322131222122213122312132212221213221312231212112232122132122231"
    "113222123122123221223211221132221231213212223112312131311222321122321221312212322112322211"
    "212123212321232121111323131123131321112313132113132311211313231113231311112133112331132131"
    "113123113321133121313121211331231131213113213311213131311123311321331121312113312311332111"
    "314111221411431111111224111422121124121421141122141221112214112412122114122411142112142211"
    "241211221114413111241112134111111242121142121241114212124112124211411212421112421211212141"
    "214121412121111143111341131141114113114311411113411311113141114131311141411131211412211214"
    "211232";

constexpr int modulus = 103;
constexpr int startC = 105;
enum class Set { a, b, c };

/// The set that the switch symbol leads to, if it is one.
std::optional<Set> setAfter(int symbol, Set current) {
    if (symbol == 99 && current != Set::c)
        return Set::c;
    if (symbol == 100 && current != Set::b)
        return Set::b;
    if (symbol == 101 && current != Set::a)
        return Set::a;
    return std::nullopt;
}

QChar character(int symbol, Set set) {
    if (set == Set::a && symbol >= 64)
        return QChar(symbol - 64);
    return QChar(symbol + 32);
}

} // namespace

std::array<int, 6> code128Widths(int symbol) {
    std::array<int, 6> result{};
    for (size_t i = 0; i < result.size(); ++i)
        result[i] = widths[static_cast<size_t>(symbol) * 6 + i] - '0';
    return result;
}

std::optional<QString> code128Text(const std::vector<int>& symbols) {
    if (symbols.size() < 3 || symbols.front() < code128StartA)
        return std::nullopt;
    int sum = symbols.front();
    for (size_t i = 1; i + 1 < symbols.size(); ++i)
        sum += symbols[i] * static_cast<int>(i);
    if (sum % modulus != symbols.back())
        return std::nullopt;

    QString text;
    auto set = static_cast<Set>(symbols.front() - code128StartA);
    static_assert(startC - code128StartA == static_cast<int>(Set::c));
    bool isShifted = false;
    for (size_t i = 1; i + 1 < symbols.size(); ++i) {
        const int symbol = symbols[i];
        if (symbol >= code128StartA)
            return std::nullopt;
        if (const std::optional<Set> next = setAfter(symbol, set)) {
            set = *next;
        } else if (set == Set::c) {
            if (symbol < 100)
                text += QString::number(symbol).rightJustified(2, u'0');
        } else if (symbol == 98) {
            isShifted = true;
            continue;
        } else if (symbol < 96) {
            const Set shifted = set == Set::a ? Set::b : Set::a;
            text += character(symbol, isShifted ? shifted : set);
        }
        isShifted = false;
    }
    return text;
}

} // namespace kopertal
