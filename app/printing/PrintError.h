#pragma once

#include <QString>

#include <stdexcept>

namespace kopertal {

/// Why a document was not printed. what() is the message for the user, in UTF-8.
class PrintError : public std::runtime_error {
public:
    explicit PrintError(const QString& message) : std::runtime_error(message.toStdString()) {}
};

} // namespace kopertal
