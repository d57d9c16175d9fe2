#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace kopertal {

/// What one line across a code gave.
struct LineReading {
    QString text;
    QString format;
    bool operator==(const LineReading&) const = default;
};

/// Decides what a linear code says from readings of many lines across it. A wrong number is worse
/// than a missing one: what carries no proof of its own needs several lines that agree.
class LineVotes {
public:
    /// A reading of the given band of the code, one of those it was cut into. A band that gives the
    /// same text again, processed in another way, counts once.
    void add(int band, const LineReading& reading);

    struct Winner {
        LineReading reading;
        QList<int> bands; ///< Those that gave it.
    };

    /// The reading that may be believed.
    std::optional<Winner> winner() const;

private:
    QList<Winner> m_candidates;
};

/// How many bands must agree on such a reading.
int neededVotes(const LineReading& reading);

} // namespace kopertal
