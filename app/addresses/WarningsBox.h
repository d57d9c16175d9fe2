#pragma once

#include <QFrame>
#include <QStringList>

class QListView;
class QStringListModel;

namespace kopertal {

/// The entries that are no recipients for want of a second line; hundreds scroll. Hidden while
/// there are none.
class WarningsBox : public QFrame {
    Q_OBJECT

public:
    explicit WarningsBox(QWidget* parent = nullptr);

    void setWarnings(const QStringList& lines);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QStringListModel* m_model;
    QListView* m_list;
};

} // namespace kopertal
