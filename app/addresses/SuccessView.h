#pragma once

#include <QWidget>

#include <optional>

namespace morvik {
class LimeActionButton;
}

namespace kopertal {

/// The content of the sheet that tells of a finished register and offers to open or print
/// it.
class SuccessView : public QWidget {
    Q_OBJECT

public:
    SuccessView(qsizetype count, qsizetype pages, const std::optional<QString>& docURL,
                QWidget* parent = nullptr);

    /// What gets the keyboard first.
    QWidget* defaultButton() const;

Q_SIGNALS:
    void openRequested();
    void printRequested();
    void closeRequested();

private:
    morvik::LimeActionButton* m_ok;
};

} // namespace kopertal
