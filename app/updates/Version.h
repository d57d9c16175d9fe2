#pragma once

#include <QString>
#include <QStringView>

#include <compare>
#include <optional>
#include <vector>

namespace kopertal {

/// A program's version, as "1.2.0", "1.2.0-beta.3" or "1.2.0+451": numbers parted by dots, of any
/// length, then perhaps the name of a pre-release, then perhaps the build's number.
struct Version {
    std::vector<QString> numbers;    ///< Digits without leading zeros, no zeros at the end.
    std::vector<QString> preRelease; ///< Digits or letters each: "rc10" is "rc" and "10".
    std::optional<QString> build;    ///< Digits without leading zeros.

    bool isPreRelease() const { return !preRelease.empty(); }
};

/// Nothing for a text of another shape or of more than 64 characters. A "v" before it, and what
/// follows a "+" and is no number, are ignored.
std::optional<Version> parseVersion(QStringView text);

/// The numbers decide, a missing one counting as 0; then a pre-release comes before its release,
/// parts of digits before parts of letters; then the build's number, a missing one first.
std::strong_ordering compareVersions(const Version& a, const Version& b);

/// Whether `candidate` is to be offered to who runs `own`: it comes after it, and it is no
/// pre-release unless `own` is one. Builds are compared only when `own` knows its own.
bool isUpdate(const Version& candidate, const Version& own);

} // namespace kopertal
