#include "app/settings/AppSettings.h"

#include "tracking/SentBookJson.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <utility>

namespace kopertal {
namespace {

Q_LOGGING_CATEGORY(settingsLog, "kopertal.settings", QtWarningMsg)

const auto senderNameKey = QStringLiteral("sender.name");
const auto senderAddressKey = QStringLiteral("sender.address");
const auto saveFolderKey = QStringLiteral("paths.saveFolder");
const auto iphoneModeKey = QStringLiteral("iphone.mode");

} // namespace

AppSettings::AppSettings(PreferencesStore store, QObject* parent)
    : QObject(parent),
      m_store(std::move(store)),
      m_senderName(m_store.text(senderNameKey).value_or(QString())),
      m_senderAddress(m_store.text(senderAddressKey).value_or(QString())),
      m_saveFolder(m_store.text(saveFolderKey).value_or(QString())),
      m_iphoneMode(m_store.text(iphoneModeKey).value_or(QStringLiteral("undecided"))) {
}

AppSettings& AppSettings::shared() {
    static auto* const instance = new AppSettings(PreferencesStore(PreferencesStore::defaultPath()),
                                                  QCoreApplication::instance());
    return *instance;
}

void AppSettings::setSenderName(const QString& value) {
    assign(m_senderName, senderNameKey, value);
}

void AppSettings::setSenderAddress(const QString& value) {
    assign(m_senderAddress, senderAddressKey, value);
}

void AppSettings::setSaveFolder(const QString& value) {
    assign(m_saveFolder, saveFolderKey, value);
}

void AppSettings::setIphoneMode(const QString& value) {
    assign(m_iphoneMode, iphoneModeKey, value);
}

bool AppSettings::isSenderDataMissing() const {
    return m_senderName.isEmpty() || m_senderAddress.isEmpty() || m_saveFolder.isEmpty();
}

QList<SentBook> AppSettings::loadSentBooks() const {
    if (m_unsavedBooks)
        return *m_unsavedBooks;
    return decodeSentBooks(m_store.data(sentBooksKey).value_or(QByteArray()))
        .value_or(QList<SentBook>());
}

void AppSettings::saveSentBooks(const QList<SentBook>& books) {
    const bool isWritten = m_store.setData(sentBooksKey, encodeSentBooks(books));
    m_unsavedBooks = isWritten ? std::nullopt : std::optional(books);
    noteWrite(isWritten);
}

void AppSettings::appendSentBook(const SentBook& book) {
    QList<SentBook> books = loadSentBooks();
    mergeBook(books, book);
    saveSentBooks(books);
}

void AppSettings::assign(QString& field, const QString& key, const QString& value) {
    field = value;
    const bool isWritten = m_store.setText(key, value);
    Q_EMIT changed();
    noteWrite(isWritten);
}

void AppSettings::noteWrite(bool isWritten) {
    if (!isWritten && !std::exchange(m_isSavingFailing, true)) {
        qCInfo(settingsLog, "nie udało się zapisać ustawień");
        Q_EMIT savingFailed();
    }
    m_isSavingFailing = !isWritten;
}

} // namespace kopertal
