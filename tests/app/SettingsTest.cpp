#include "app/settings/AppSettings.h"
#include "app/settings/PreferencesStore.h"
#include "tests/support/Files.h"
#include "tests/support/Privileges.h"

#include <QDir>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

using namespace kopertal;

namespace {

SentBook bookOf(const QString& date, const QString& number) {
    return {QUuid::createUuid(), date, {{QUuid::createUuid(), "Żaneta", "", number}}, {}};
}

} // namespace

class SettingsTest : public QObject {
    Q_OBJECT

private:
    void writeFile(const QByteArray& bytes) const {
        QVERIFY(QDir().mkpath(QFileInfo(m_path).path()));
        test::writeFile(m_path, bytes);
    }

    QStringList filesBeside() const {
        return QDir(QFileInfo(m_path).path()).entryList(QDir::Files | QDir::Hidden);
    }

    std::unique_ptr<QTemporaryDir> m_scratch;
    QString m_path;

private Q_SLOTS:
    void init() {
        m_scratch = std::make_unique<QTemporaryDir>();
        m_path = m_scratch->filePath("config/kopertal/settings.json");
    }

    void keepsTextsAndBytesForTheNextProcess() {
        const QString text = QStringLiteral("Żółć \"\\/\n\t\U0001F600 ") + QChar(u'\0');
        const QByteArray bytes("\0\xff{}", 4);
        PreferencesStore store(m_path);
        QVERIFY(store.setText("sender.name", text));
        QVERIFY(store.setText("empty", QString()));
        QVERIFY(store.setData("tracking.sentBooks", bytes));

        const PreferencesStore next(m_path);
        QCOMPARE(next.text("sender.name"), text);
        QCOMPARE(next.text("empty"), QString(""));
        QCOMPARE(next.data("tracking.sentBooks"), bytes);
        QVERIFY(!next.text("absent"));
        QVERIFY(!next.text("tracking.sentBooks"));
        QVERIFY(!next.data("sender.name"));

        QVERIFY(store.remove("tracking.sentBooks"));
        QVERIFY(store.remove("absent"));
        QVERIFY(!next.data("tracking.sentBooks"));
        QCOMPARE(next.text("sender.name"), text);
        QCOMPARE(QFile::permissions(m_path) & QFile::Permissions(0x0077), QFile::Permissions());
        QCOMPARE(filesBeside(), QStringList("settings.json"));
    }

    void keepsADamagedFileAside() {
        for (const QByteArray bytes : {"[General]\nname=x", "{\"sender.name\": \"A", "[1]", ""}) {
            init();
            writeFile(bytes);
            PreferencesStore store(m_path);
            QVERIFY(!store.text("sender.name"));
            QCOMPARE(filesBeside(), QStringList("settings.json")); // reading changes nothing

            QVERIFY(store.setText("sender.name", "B"));
            QCOMPARE(store.text("sender.name"), QString("B"));
            QStringList files = filesBeside();
            QCOMPARE(files.size(), 2);
            files.removeOne("settings.json");
            QCOMPARE(test::contentsOf(QFileInfo(m_path).dir().filePath(files[0])), bytes);
        }
    }

    void keepsATooLargeFileAside() {
        constexpr qsizetype largest = qsizetype(64) << 20;
        const QByteArray preferences = R"({"sender.name": "A"})";
        for (const qsizetype size : {largest, largest + 1}) {
            init();
            writeFile(preferences.leftJustified(size, ' '));
            PreferencesStore store(m_path);
            QCOMPARE(store.text("sender.name").value_or("absent"),
                     size == largest ? "A" : "absent");
            QVERIFY(store.setText("sender.address", "B"));
            QCOMPARE(filesBeside().size(), size == largest ? 1 : 2);
        }
    }

    void isNotHeldUpByAPipe() {
        QVERIFY(QDir().mkpath(QFileInfo(m_path).path()));
        QCOMPARE(mkfifo(QFile::encodeName(m_path).constData(), 0600), 0);
        PreferencesStore store(m_path);
        QVERIFY(!store.text("sender.name"));
        QVERIFY(store.setText("sender.name", "B"));
        QCOMPARE(store.text("sender.name"), QString("B"));
    }

    void readsValuesOfAnotherKindAsAbsent() {
        writeFile(
            R"({"sender.name": 5, "iphone.mode": null, "tracking.sentBooks": {"base64": "%%%"},
                      "future": [1]})");
        PreferencesStore store(m_path);
        QVERIFY(!store.text("sender.name"));
        QVERIFY(!store.data("tracking.sentBooks"));
        QCOMPARE(AppSettings(store).iphoneMode(), "undecided");
        QVERIFY(store.setText("sender.name", "A"));
        QVERIFY(QJsonDocument::fromJson(test::contentsOf(m_path))["future"]
                    .isArray()); // a later version's
    }

    void losesNothingWhenProcessesWriteAtOnce() {
        constexpr int processes = 4;
        constexpr int keys = 12;
        QList<pid_t> children;
        for (int process = 0; process < processes; ++process) {
            const pid_t child = fork();
            if (child == 0) {
                PreferencesStore store(m_path);
                bool isWritten = true;
                for (int key = 0; key < keys; ++key)
                    isWritten &= store.setText(QString("%1.%2").arg(process).arg(key), "v");
                _exit(isWritten ? 0 : 1);
            }
            children += child;
        }
        for (const pid_t child : children) {
            int status = -1;
            QCOMPARE(waitpid(child, &status, 0), child);
            QCOMPARE(status, 0);
        }
        const PreferencesStore store(m_path);
        for (int process = 0; process < processes; ++process) {
            for (int key = 0; key < keys; ++key)
                QCOMPARE(store.text(QString("%1.%2").arg(process).arg(key)), QString("v"));
        }
        QCOMPARE(filesBeside(), QStringList("settings.json"));
    }

    void survivesAReadOnlyHome() {
        writeFile(R"({"sender.name": "A"})");
        for (const QString& path : {m_scratch->path(), QFileInfo(m_path).path(), m_path})
            QFile::setPermissions(path, QFile::Permissions(0x5555));
        {
            const test::OrdinaryUser user;
            AppSettings settings{PreferencesStore(m_path)};
            QSignalSpy changes(&settings, &AppSettings::changed);
            QElapsedTimer timer;
            timer.start();
            settings.setSenderName("B");
            QVERIFY2(timer.elapsed() < 5000, "waited for a lock that can never be had");
            QCOMPARE(settings.senderName(), "B");
            QCOMPARE(changes.count(), 1);
        }
        QCOMPARE(PreferencesStore(m_path).text("sender.name"), QString("A"));
        QFile::setPermissions(QFileInfo(m_path).path(), QFile::Permissions(0x7755));
    }

    /// A bound on the size of files fails writes just as a full disk does.
    void survivesAFullDisk() {
        writeFile(R"({"sender.name": "A"})");
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit whole{};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &whole), 0);
        const rlimit little{1000, whole.rlim_max}; // for the lock, not for the settings
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &little), 0);
        PreferencesStore store(m_path);
        const bool isWritten = store.setText("sender.name", QString(2000, u'B'));
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &whole), 0);
        QVERIFY(!isWritten);
        QCOMPARE(store.text("sender.name"), QString("A"));
        QCOMPARE(filesBeside(), QStringList("settings.json"));
    }

    void settingsStartEmptyAndPersist() {
        AppSettings settings{PreferencesStore(m_path)};
        QCOMPARE(settings.senderName(), QString());
        QCOMPARE(settings.iphoneMode(), "undecided");
        QCOMPARE(settings.sentBooksKey, "tracking.sentBooks");
        QVERIFY(settings.isSenderDataMissing());
        QVERIFY2(!QFile::exists(m_path), "reading writes nothing");

        QSignalSpy changes(&settings, &AppSettings::changed);
        settings.setSenderName(" ");
        settings.setSenderAddress("ul. A 1");
        QVERIFY(settings.isSenderDataMissing());
        settings.setSaveFolder("/nonexistent");
        QVERIFY2(!settings.isSenderDataMissing(), "only emptiness counts");
        settings.setIphoneMode("paired");
        QCOMPARE(changes.count(), 4);

        QFile::remove(m_path);
        settings.setSenderName(" "); // the same again is written and announced, too
        QCOMPARE(changes.count(), 5);
        const AppSettings next{PreferencesStore(m_path)};
        QCOMPARE(next.senderName(), " ");
        QCOMPARE(next.senderAddress(), QString());
    }

    void theRegisterLivesInTheStore() {
        const PreferencesStore store(m_path);
        AppSettings settings(store);
        QCOMPARE(settings.loadSentBooks(), QList<SentBook>());

        const QList<SentBook> expected{bookOf("2025-03-14", "Ł1"), bookOf("2025-03-15", "3")};
        for (const SentBook& book : expected)
            settings.appendSentBook(book);
        QCOMPARE(settings.loadSentBooks(), expected);
        QCOMPARE(AppSettings(store).loadSentBooks(), expected);

        settings.saveSentBooks({});
        QCOMPARE(store.data(settings.sentBooksKey), "[]");
        QCOMPARE(settings.loadSentBooks(), QList<SentBook>());
    }

    void anUnreadableRegisterIsEmptyAndReplaced() {
        PreferencesStore store(m_path);
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

QTEST_GUILESS_MAIN(SettingsTest)
#include "SettingsTest.moc"
