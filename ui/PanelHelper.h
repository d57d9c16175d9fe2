#pragma once

#include <QList>
#include <QSet>
#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

/// The desktop's panels for choosing files and folders, and its file manager. The panels are modal:
/// the call returns when the user is done. What called them may be gone by then.
namespace morvik::PanelHelper {

/// Files whose extension is among `extensions` (without dot, any case; none means all files).
/// `completion` runs only when the user confirms.
void chooseFiles(const QSet<QString>& extensions,
                 const std::function<void(const QList<QUrl>&)>& completion);

void chooseSingleFile(const QSet<QString>& extensions,
                      const std::function<void(const QUrl&)>& completion);

/// The chosen folder; nothing when the user cancelled.
std::optional<QUrl> chooseDirectory();

/// Shows the first of `files` selected in the file manager, or opens its folder where no file
/// manager can be asked to select or the file is gone. Returns at once and reports nothing.
void revealInFinder(const QList<QUrl>& files);

/// The name patterns that `extensions` allow, sorted; those that cannot be an extension are left
/// out.
QStringList namePatterns(const QSet<QString>& extensions);

} // namespace morvik::PanelHelper
