#pragma once

#include <QString>

#include <exception>
#include <stdexcept>
#include <string>

namespace kopertal {

/// The document engine's own failures. what() is the message for the user, in UTF-8.
class EngineError : public std::runtime_error {
public:
    enum class Case { templateNotFound, xmlParseError };

    static EngineError templateNotFound(const QString& path);
    static EngineError xmlParseError(const QString& what);

    Case kind() const { return m_kind; }

private:
    EngineError(Case kind, const QString& message);

    Case m_kind;
};

/// A failure of the file system or of a library below the engine, in its own words:
/// "PATH: DESCRIPTION" in UTF-8.
class FileError : public std::runtime_error {
public:
    FileError(const QString& path, const QString& description);
    FileError(const QString& path, int errorNumber);
};

/// The work was stopped at its starter's wish; nothing is left of it.
class Cancelled : public std::exception {
public:
    const char* what() const noexcept override { return "Przerwano."; }
};

} // namespace kopertal
