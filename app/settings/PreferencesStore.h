#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

namespace kopertal {

/// The user's preferences: texts, binary values and objects by key, in one JSON file that only the
/// user may read.
///
/// Every write is on the disk when the call returns, and changes its own key only, also while other
/// processes write theirs. A file that cannot be read or is no preferences file reads as empty; the
/// next write moves it aside (FILE.damaged-TIME) and starts afresh, so nothing is lost. One thread
/// at a time.
class PreferencesStore {
public:
    explicit PreferencesStore(QString path);

    /// settings.json in the program's folder below the XDG configuration folder.
    static QString defaultPath();

    /// The value; nothing when the key is absent or of the other kind.
    std::optional<QString> text(const QString& key) const;
    std::optional<QByteArray> data(const QString& key) const;
    std::optional<QJsonObject> object(const QString& key) const;

    /// False when the value could not be written (a read-only home, a full disk).
    bool setText(const QString& key, const QString& value);
    bool setData(const QString& key, const QByteArray& value);
    bool setObject(const QString& key, const QJsonObject& value);
    bool remove(const QString& key);

private:
    bool update(const QString& key, const QJsonValue& value);

    QString m_path;
};

} // namespace kopertal
