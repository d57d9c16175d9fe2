#include "app/settings/PreferencesStore.h"
#include "tests/fuzz/FuzzTarget.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace kopertal;

namespace {

const auto key = QStringLiteral("paths.saveFolder");

QByteArray contents(const QString& path) {
    QFile file(path);
    require(file.open(QIODevice::ReadOnly), "the file is there");
    return file.readAll();
}

} // namespace

/// Any bytes as the file of settings: they can be read and written, and what was there before is
/// kept, in the file or beside it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const QTemporaryDir folder;
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QDir files(folder.path());
    const QString path = files.filePath(QStringLiteral("settings.json"));
    for (const QString& left : files.entryList(QDir::Files))
        QFile::remove(files.filePath(left));
    QFile file(path);
    require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush(),
            "the scratch folder can be written");
    file.close();

    PreferencesStore store(path);
    const auto other = QStringLiteral("iphone.mode");
    const std::optional<QString> text = store.text(other);
    const std::optional<QByteArray> binary = store.data(other);
    const std::optional<QJsonObject> object = store.object(other);
    require(store.setText(key, QStringLiteral("/tmp/ż")), "a setting can be written");
    require(store.text(key) == QStringLiteral("/tmp/ż"), "and is read again");
    const QStringList kept = files.entryList({QStringLiteral("settings.json.damaged-*")});
    // The toolkit takes a byte order mark at a text's start away as it reads.
    const bool isMarked = bytes.contains("\xEF\xBB\xBF") || bytes.toLower().contains("\\ufeff");
    if (!kept.isEmpty())
        require(contents(files.filePath(kept.first())) == bytes, "a damaged file is kept whole");
    else if (!isMarked)
        require(store.text(other) == text && store.data(other) == binary &&
                    store.object(other) == object,
                "the other settings stay");
    require(store.remove(key) && !store.text(key), "a setting can be taken away");
    return 0;
}
