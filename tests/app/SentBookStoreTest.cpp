#include "app/settings/AppSettings.h"

#include <QTemporaryDir>
#include <QTest>

using namespace kopertal;

namespace {

SentBook bookOf(const QString& date, const QString& number) {
    return {QUuid::createUuid(), date, {{QUuid::createUuid(), "Żaneta", "", number}}, {}};
}

} // namespace

class SentBookStoreTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theRegisterLivesInTheStore() {
        const QTemporaryDir folder;
        const PreferencesStore store(folder.filePath("settings.json"));
        AppSettings settings(store);
        QCOMPARE(settings.loadSentBooks(), QList<SentBook>());

        const SentBook first = bookOf("2025-03-14", "Ł1");
        const SentBook second = bookOf("2025-03-14", "2");
        const SentBook later = bookOf("2025-03-15", "3");
        for (const SentBook& book : {first, second, later})
            settings.appendSentBook(book);
        SentBook merged = first;
        merged.entries.append(second.entries);
        const QList<SentBook> expected{merged, later};
        QCOMPARE(settings.loadSentBooks(), expected);
        QCOMPARE(AppSettings(store).loadSentBooks(), expected);

        settings.saveSentBooks({});
        QCOMPARE(store.data(settings.sentBooksKey), "[]");
        QCOMPARE(settings.loadSentBooks(), QList<SentBook>());
    }

    void anUnreadableRegisterIsEmptyAndReplaced() {
        const QTemporaryDir folder;
        PreferencesStore store(folder.filePath("settings.json"));
        AppSettings settings(store);
        settings.setSenderName("Jan");
        for (const bool isText : {true, false}) {
            if (isText)
                store.setText(settings.sentBooksKey, "[]x");
            else
                store.setData(settings.sentBooksKey, "[{}]");
            QCOMPARE(settings.loadSentBooks(), QList<SentBook>());
            const SentBook book = bookOf("2025-03-14", "1");
            settings.appendSentBook(book);
            QCOMPARE(settings.loadSentBooks(), QList<SentBook>{book});
        }
        QCOMPARE(AppSettings(store).senderName(), "Jan");
    }
};

QTEST_APPLESS_MAIN(SentBookStoreTest)
#include "SentBookStoreTest.moc"
