#include "app/settings/PreferencesStore.h"
#include "tests/fuzz/FuzzTarget.h"
#include "tests/support/Files.h"

#include <QDir>
#include <QTemporaryDir>

#include <tuple>

using namespace kopertal;

/// Any bytes as the file of settings: they can be read and written, and what was there before is
/// kept, in the file or beside it.
void feed(QByteArrayView input) {
    const QTemporaryDir folder;
    const QByteArray bytes = input.toByteArray();
    PreferencesStore store(
        test::writeFile(folder.filePath(QStringLiteral("settings.json")), bytes));
    const auto key = QStringLiteral("paths.saveFolder");
    const auto other = QStringLiteral("iphone.mode");
    const auto readOther = [&] {
        return std::tuple(store.text(other), store.data(other), store.object(other));
    };
    const auto before = readOther();
    require(store.setText(key, QStringLiteral("/tmp/ż")), "a setting can be written");
    require(store.text(key) == QStringLiteral("/tmp/ż"), "and is read again");
    const QStringList kept =
        QDir(folder.path()).entryList({QStringLiteral("settings.json.damaged-*")});
    // The toolkit takes a byte order mark at a text's start away as it reads.
    const bool isMarked = bytes.contains("\xEF\xBB\xBF") || bytes.toLower().contains("\\ufeff");
    if (!kept.isEmpty())
        require(test::contentsOf(folder.filePath(kept.first())) == bytes,
                "a damaged file is kept whole");
    else if (!isMarked)
        require(readOther() == before, "the other settings stay");
    require(store.remove(key) && !store.text(key), "a setting can be taken away");
}
