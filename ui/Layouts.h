#pragma once

#include <QColor>
#include <QList>

class QHBoxLayout;
class QIcon;
class QLayout;
class QVBoxLayout;
class QWidget;

namespace morvik {

class LimeActionButton;

/// The column of a pane, padded by 16 on all sides, that begins with its header row: 24 high and 8
/// above what is added.
QVBoxLayout* paneColumn(QWidget* pane, QHBoxLayout* header);

/// A hairline from side to side, but for `indent` at the left; equally thick wherever it stands.
QWidget* makeDivider(const QColor& color, int indent = 0);

/// `words` to the right of the icon, which is left out when it is null.
QHBoxLayout* beside(const QIcon& icon, int pixels, QLayout* words);

/// Action buttons side by side, equally wide, as at the foot of a sheet.
QHBoxLayout* actionRow(const QList<LimeActionButton*>& buttons);

} // namespace morvik
