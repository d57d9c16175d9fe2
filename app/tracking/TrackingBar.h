#pragma once

#include <QWidget>

class QLabel;
class QLineEdit;

namespace morvik {
class IconButton;
class LimeBorderedButton;
} // namespace morvik

namespace kopertal {

/// The bar over the tracking table: the field for a number, and the tab's buttons.
class TrackingBar : public QWidget {
    Q_OBJECT

public:
    explicit TrackingBar(QWidget* parent = nullptr);

    QLineEdit& numberField() { return *m_number; }

    /// Whether the phone is paired, and a word on its server for the tooltip.
    void showPhone(bool isPaired, const QString& serverStatus);
    void showRows(bool hasRows, bool canRefresh, bool isRefreshing);

public Q_SLOTS:
    /// Presses the button, if it is enabled.
    void pressRefresh();

Q_SIGNALS:
    void addRequested();
    void scanRequested();
    void refreshRequested();
    void clearRequested();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void updateAddButton();

    QLabel* m_label;
    QLineEdit* m_number;
    morvik::LimeBorderedButton* m_add;
    morvik::LimeBorderedButton* m_scan;
    morvik::LimeBorderedButton* m_refresh;
    morvik::IconButton* m_clear;
};

} // namespace kopertal
