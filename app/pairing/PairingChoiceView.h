#pragma once

#include <QWidget>

namespace morvik {
class LimeBorderedButton;
}

namespace kopertal {

/// The content of the sheet that asks once how the phone finds this computer.
class PairingChoiceView : public QWidget {
    Q_OBJECT

public:
    explicit PairingChoiceView(QWidget* parent = nullptr);

    /// What gets the keyboard first.
    QWidget* defaultButton() const;

Q_SIGNALS:
    /// "paired" or "qr". Comes before closeRequested(), and not at all when the sheet is dismissed
    /// otherwise.
    void choice(const QString& mode);
    void closeRequested();

private:
    void choose(const QString& mode);

    morvik::LimeBorderedButton* m_pair;
};

} // namespace kopertal
