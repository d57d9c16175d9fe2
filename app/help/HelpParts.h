#pragma once

#include <QString>
#include <QStringList>

#include <optional>

class QWidget;

namespace kopertal {

/// A topic of the help: the title beside its picture, what it says, its points, a note in a box.
QWidget* helpSection(const QString& icon, const QString& title, const QString& description,
                     const QStringList& options, const std::optional<QString>& note);

/// A title beside its picture, over `content`, which it takes over.
QWidget* helpTopic(const QString& icon, const QString& title, QWidget* content);

/// Keys and what they do.
QWidget* shortcutRow(const QString& keys, const QString& description);

} // namespace kopertal
