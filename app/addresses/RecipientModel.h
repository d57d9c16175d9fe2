#pragma once

#include "app/addresses/LiveRecipients.h"

#include <QAbstractTableModel>

namespace kopertal {

/// The preview's rows: number, name and address of each recipient of a LiveRecipients.
class RecipientModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { number, name, address, columns };

    /// `source` outlives the model.
    explicit RecipientModel(const LiveRecipients& source, QObject* parent = nullptr);

    /// To be called after the source has changed.
    void apply(const LiveRecipients::Change& change);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    const LiveRecipients& m_source;
    qsizetype m_rows = 0;
};

} // namespace kopertal
