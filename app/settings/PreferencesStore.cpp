#include "app/settings/PreferencesStore.h"

#include "app/settings/FileLock.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>
#include <QStandardPaths>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <utility>

namespace kopertal {
namespace {

constexpr qint64 maxFileBytes = 64LL * 1024 * 1024; // a register of a million numbers stays below
constexpr std::chrono::milliseconds lockTimeout{10'000};
const auto base64Key = QStringLiteral("base64"); // JSON holds no bytes: {"base64": "…"}

/// The preferences in the file; an empty object when there is no file, nothing when it is damaged.
std::optional<QJsonObject> readPreferences(const QString& path) {
    QFile file(path);
    if (!file.exists())
        return QJsonObject();
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) // a pipe might never end
        return std::nullopt;
    // One byte more than there may be; reading first makes room for all that is asked for.
    const QByteArray bytes = file.read(std::min(file.size(), maxFileBytes) + 1);
    if (file.error() != QFileDevice::NoError || bytes.size() > maxFileBytes)
        return std::nullopt;
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    if (!document.isObject())
        return std::nullopt;
    return document.object();
}

/// False when others have had it all the time. On a disk without locks nobody waits for others.
bool acquire(FileLock& lock, const QString& path) {
    const QDeadlineTimer deadline(lockTimeout);
    while (lock.tryLock(path) == FileLock::Outcome::taken) {
        if (deadline.hasExpired())
            return false;
        QThread::msleep(5);
    }
    return true;
}

bool moveAside(const QString& path) {
    const QString stamp =
        QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"));
    return QFile::rename(path, path + QStringLiteral(".damaged-") + stamp);
}

/// Replaces the file; a damaged one is moved aside once the new one stands beside it.
bool writePreferences(const QString& path, const QJsonObject& preferences, bool isDamaged) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    file.write(QJsonDocument(preferences).toJson());
    if (!file.flush() || (isDamaged && !moveAside(path)))
        return false;
    return file.commit(); // syncs, then renames; fails when any write failed
}

} // namespace

PreferencesStore::PreferencesStore(QString path) : m_path(std::move(path)) {
}

QString PreferencesStore::defaultPath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/kopertal/settings.json");
}

std::optional<QString> PreferencesStore::text(const QString& key) const {
    const QJsonValue value = readPreferences(m_path).value_or(QJsonObject()).value(key);
    if (!value.isString())
        return std::nullopt;
    return value.toString();
}

std::optional<QByteArray> PreferencesStore::data(const QString& key) const {
    const QJsonValue value =
        readPreferences(m_path).value_or(QJsonObject()).value(key).toObject().value(base64Key);
    const auto decoded = QByteArray::fromBase64Encoding(value.toString().toLatin1(),
                                                        QByteArray::AbortOnBase64DecodingErrors);
    if (!value.isString() || !decoded)
        return std::nullopt;
    return *decoded;
}

std::optional<QJsonObject> PreferencesStore::object(const QString& key) const {
    const QJsonValue value = readPreferences(m_path).value_or(QJsonObject()).value(key);
    if (!value.isObject())
        return std::nullopt;
    return value.toObject();
}

bool PreferencesStore::setText(const QString& key, const QString& value) {
    return update(key, value);
}

bool PreferencesStore::setData(const QString& key, const QByteArray& value) {
    return update(key, QJsonObject{{base64Key, QString::fromLatin1(value.toBase64())}});
}

bool PreferencesStore::setObject(const QString& key, const QJsonObject& value) {
    return update(key, value);
}

bool PreferencesStore::remove(const QString& key) {
    const std::optional<QJsonObject> preferences = readPreferences(m_path);
    if (preferences && !preferences->contains(key))
        return true; // the lock alone would cost a write to the disk
    return update(key, QJsonValue::Undefined);
}

bool PreferencesStore::update(const QString& key, const QJsonValue& value) {
    const QString folder = QFileInfo(m_path).path();
    FileLock lock;
    if (!QDir().mkpath(folder) || !acquire(lock, folder))
        return false;
    const std::optional<QJsonObject> preferences = readPreferences(m_path);
    QJsonObject changed = preferences.value_or(QJsonObject());
    if (value.isUndefined() && !changed.contains(key))
        return true;
    changed.insert(key, value); // an undefined value removes the key
    return writePreferences(m_path, changed, !preferences.has_value());
}

} // namespace kopertal
