#pragma once

#include "app/settings/PreferencesStore.h"
#include "tracking/SentBook.h"

#include <QObject>
#include <QString>

namespace kopertal {

/// The settings of the program. Each assignment is written to the store at once and announced,
/// whether or not the value differs; a write that fails keeps the value for this run and is told.
/// Main thread only.
class AppSettings : public QObject {
    Q_OBJECT

public:
    /// Reads the values from `store`; absent ones are empty, and "undecided" for the phone mode.
    explicit AppSettings(PreferencesStore store, QObject* parent = nullptr);

    /// The one instance over the user's own store, made at the first use. Needs the application
    /// object.
    static AppSettings& shared();

    const QString& senderName() const { return m_senderName; }
    /// One line, for example "ul. Testowa 1/2, 00-000 Testowo".
    const QString& senderAddress() const { return m_senderAddress; }
    /// The path of a folder, as it was stored: it may be gone.
    const QString& saveFolder() const { return m_saveFolder; }
    /// "undecided", "paired" or "qr".
    const QString& iphoneMode() const { return m_iphoneMode; }

    void setSenderName(const QString& value);
    void setSenderAddress(const QString& value);
    void setSaveFolder(const QString& value);
    void setIphoneMode(const QString& value);

    /// Whether the name, the address or the folder is empty, so that the sender is to be asked.
    bool isSenderDataMissing() const;

    /// The store's key of the register of sent letters.
    const QString sentBooksKey = QStringLiteral("tracking.sentBooks");

    /// The stored register; empty when there is none or it cannot be read.
    QList<SentBook> loadSentBooks() const;
    /// Stores the register in place of the old one, an empty one too.
    void saveSentBooks(const QList<SentBook>& books);
    /// Adds the book's entries to the stored book of its date, or the book to the register's end.
    void appendSentBook(const SentBook& book);

Q_SIGNALS:
    /// After every assignment, with the new value in place.
    void changed();
    /// Nothing is kept for the next run; told once until a write succeeds again.
    void savingFailed();

private:
    void noteWrite(bool isWritten);
    void assign(QString& field, const QString& key, const QString& value);

    PreferencesStore m_store;
    QString m_senderName;
    QString m_senderAddress;
    QString m_saveFolder;
    QString m_iphoneMode;
    std::optional<QList<SentBook>> m_unsavedBooks; // what the store did not take
    bool m_isSavingFailing = false;
};

} // namespace kopertal
