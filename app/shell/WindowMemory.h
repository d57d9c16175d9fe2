#pragma once

#include "app/settings/PreferencesStore.h"

#include <QList>
#include <QObject>

class QWidget;

namespace kopertal {

/// What the user has made of the window, kept from one run to the next: its size, whether it is
/// maximised, and, of the parts that have an object name, where the splitters stand and how wide
/// the columns are. Where the window stands is the desktop's affair.
///
/// Every part is remembered as it was when it was last hidden; all of it is written once, when the
/// program ends, and only when it differs. What is read may be anything: what does not fit the
/// screen or the part is left out.
class WindowMemory : public QObject {
    Q_OBJECT

public:
    /// Restores the size of `window`, which is not shown yet and outlives this.
    WindowMemory(PreferencesStore store, QWidget& window);

    /// Restores the parts below `page`, which is new in the window and not shown yet.
    void restore(QWidget& page);

    /// Writes what has changed, if anything. False when it could not be written.
    bool save();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void restoreWindow();
    void watch(QWidget* part);
    void remember(const QWidget* part);
    QList<int> numbers(const QString& key) const;
    void setNumbers(const QString& key, const QList<int>& numbers);

    PreferencesStore m_store;
    QWidget& m_window;
    QList<const QWidget*> m_parts; // while they exist
    QJsonObject m_stored;
    QJsonObject m_layout;
};

} // namespace kopertal
