#include "app/addresses/RecipientModel.h"

#include "app/common/Theme.h"
#include "ui/PlainToolTip.h"

#include <algorithm>

namespace kopertal {

RecipientModel::RecipientModel(const LiveRecipients& source, QObject* parent)
    : QAbstractTableModel(parent), m_source(source) {
}

void RecipientModel::apply(const LiveRecipients::Change& change) {
    const qsizetype common = std::min(change.removed, change.added);
    const auto row = [](qsizetype at) { return static_cast<int>(at); };
    if (change.removed > common) {
        beginRemoveRows({}, row(change.first + common), row(change.first + change.removed - 1));
        m_rows -= change.removed - common;
        endRemoveRows();
    } else if (change.added > common) {
        beginInsertRows({}, row(change.first + common), row(change.first + change.added - 1));
        m_rows += change.added - common;
        endInsertRows();
    }
    if (common > 0)
        Q_EMIT dataChanged(index(row(change.first), name),
                           index(row(change.first + common - 1), address));
    if (change.removed != change.added && m_rows > 0) // the rows below have new numbers
        Q_EMIT dataChanged(index(row(std::min(change.first, m_rows - 1)), number),
                           index(row(m_rows - 1), number));
}

int RecipientModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows);
}

int RecipientModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columns;
}

QVariant RecipientModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= m_source.recipients().size())
        return {};
    const ParsedAddress& recipient = m_source.recipients()[index.row()];
    switch (role) {
    case Qt::DisplayRole:
        if (index.column() == number)
            return index.row() + 1;
        return index.column() == name ? recipient.name : recipient.lines.join(QStringLiteral(", "));
    case Qt::ToolTipRole: // plain text, whatever it holds; for what a narrow column cuts
        if (index.column() == number)
            return {};
        return morvik::plainToolTip(data(index, Qt::DisplayRole).toString());
    case Qt::ForegroundRole:
        return index.column() == name ? Theme::textMain : Theme::textMuted;
    case Qt::TextAlignmentRole:
        return int(index.column() == number ? Qt::AlignRight | Qt::AlignVCenter
                                            : Qt::AlignLeft | Qt::AlignVCenter);
    default:
        return {};
    }
}

QVariant RecipientModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole && section == number)
        return int(Qt::AlignRight | Qt::AlignVCenter);
    if (role != Qt::DisplayRole)
        return {};
    switch (section) {
    case number:
        return QStringLiteral("Lp.");
    case name:
        return QStringLiteral("Adresat");
    default:
        return QStringLiteral("Adres");
    }
}

} // namespace kopertal
