#include "app/settings/AppSettings.h"

#include <QCoreApplication>

#include <utility>

namespace kopertal {
namespace {

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

void AppSettings::assign(QString& field, const QString& key, const QString& value) {
    field = value;
    m_store.setText(key, value);
    Q_EMIT changed();
}

} // namespace kopertal
