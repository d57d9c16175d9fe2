#pragma once

#include <QWidget>

class QLabel;
class QLineEdit;

namespace kopertal {

class AppSettings;

/// The form of the sender's name, address and save folder. It edits copies, taken when it is made,
/// and stores them only when they pass its checks.
class SenderSetupView : public QWidget {
    Q_OBJECT

public:
    /// `settings` outlives the view. In settings mode it draws its own frame; who shows it decides
    /// what closing means.
    SenderSetupView(AppSettings& settings, bool isSettingsMode, QWidget* parent = nullptr);

    /// What gets the keyboard first.
    QWidget* firstField() const;

Q_SIGNALS:
    /// Cancelled, or saved.
    void closeRequested();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QWidget* makeForm();
    void chooseFolder();
    void save();
    void refuse(const QString& message, const QList<QLineEdit*>& fields);

    AppSettings& m_settings;
    bool m_isSettingsMode;
    QLineEdit* m_name;
    QLineEdit* m_address;
    QLineEdit* m_folder;
    QLabel* m_error;
};

} // namespace kopertal
