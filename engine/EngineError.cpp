#include "engine/EngineError.h"

#include <system_error>

namespace kopertal {

EngineError::EngineError(Case kind, const QString& message)
    : std::runtime_error(message.toStdString()), m_kind(kind) {
}

EngineError EngineError::templateNotFound(const QString& path) {
    return {Case::templateNotFound, QStringLiteral("Nie znaleziono szablonu: ") + path};
}

EngineError EngineError::xmlParseError(const QString& what) {
    return {Case::xmlParseError, QStringLiteral("Błąd parsowania XML: ") + what};
}

FileError::FileError(const QString& path, const QString& description)
    : std::runtime_error((path + QStringLiteral(": ") + description).toStdString()) {
}

FileError::FileError(const QString& path, int errorNumber)
    : FileError(path, QString::fromStdString(std::generic_category().message(errorNumber))) {
}

} // namespace kopertal
