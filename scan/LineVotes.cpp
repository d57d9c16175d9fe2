#include "scan/LineVotes.h"

#include "scan/CheckDigits.h"

#include <algorithm>

namespace kopertal {

void LineVotes::add(int band, const LineReading& reading) {
    const auto known = std::ranges::find(m_candidates, reading, &Winner::reading);
    if (known == m_candidates.end())
        m_candidates.append({reading, {band}});
    else if (!known->bands.contains(band))
        known->bands.append(band);
}

std::optional<LineVotes::Winner> LineVotes::winner() const {
    const auto votes = [](const Winner& candidate) { return candidate.bands.size(); };
    const auto best = std::ranges::max_element(m_candidates, {}, votes);
    if (best == m_candidates.end() || best->bands.size() < neededVotes(best->reading))
        return std::nullopt;
    // Part of a code read as a shorter one, or noise: then the others are nearly as many.
    for (auto other = m_candidates.begin(); other != m_candidates.end(); ++other) {
        if (other != best && other->bands.size() * 3 > best->bands.size())
            return std::nullopt;
    }
    return *best;
}

int neededVotes(const LineReading& reading) {
    const auto isA = [&](const char* format) { return reading.format == QLatin1String(format); };
    const qsizetype length = reading.text.size();
    if (isA("Code128")) {
        // Its own check has passed two wrong readings in a few hundred codes; with the number's own
        // digit there is nothing left to fear.
        if ((length == 20 && hasGs1CheckDigit(reading.text)) || isPostalUnionNumber(reading.text))
            return 2;
        return length < 4 ? 8 : 4;
    }
    if (isA("ITF")) // any part of it is a code, too
        return length == 14 && hasGs1CheckDigit(reading.text) ? 4 : length < 8 ? 14 : 8;
    if (isA("Code93"))
        return length < 4 ? 8 : 4;
    if (isA("EAN-13") || isA("UPC-A") || isA("DataBarExpanded"))
        return 4;
    if (isA("Code39"))
        return isPostalUnionNumber(reading.text) ? 3 : length < 4 ? 12 : 6;
    if (isA("EAN-8") || isA("DataBar"))
        return 6;
    return length < 4 ? 14 : 10; // Codabar and UPC-E, which prove nothing
}

} // namespace kopertal
