#pragma once

#include <QString>

#include <stdexcept>

namespace kopertal {

/// Why a document was not printed. what() is the message for the user, in UTF-8: what to do, then
/// the words of the program or system that failed, where there are any.
class PrintError : public std::runtime_error {
public:
    explicit PrintError(const QString& message, const QString& details = {});
};

/// The temporary folder does not take what printing needs.
PrintError temporaryFolderError(const QString& details);

/// A failure of work with the files in `folder`, a WorkFolder: temporaryFolderError when there is
/// no room for them, else `message`. Paths into the folder are left out of the details.
PrintError workError(const QString& message, const QString& details, const QString& folder);

} // namespace kopertal
