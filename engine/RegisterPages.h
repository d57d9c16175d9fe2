#pragma once

#include <QtGlobal>

#include <algorithm>

namespace kopertal {

/// Rows of the register's form: each page of the template holds ten name and ten address boxes.
inline constexpr qsizetype recipientsPerPage = 10;

/// The pages that a register of so many recipients takes; never below one.
constexpr qsizetype pageCount(qsizetype recipients) {
    return std::max<qsizetype>(1, (recipients + recipientsPerPage - 1) / recipientsPerPage);
}

} // namespace kopertal
