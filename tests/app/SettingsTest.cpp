#include "app/settings/AppSettings.h"
#include "app/settings/PreferencesStore.h"
#include "tests/support/Files.h"
#include "tests/support/Privileges.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

using namespace kopertal;

class SettingsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        m_path = m_folder->filePath("settings.json");
    }

    void keepsTextsAndBytesForTheNextProcess() {
        const QString text = QString("Żółć \"\\/\n\t\U0001F600 ") + QChar(u'\0');
        const QByteArray bytes("\0\xff{}", 4);
        PreferencesStore store(m_path);
        QVERIFY(store.setText("sender.name", text));
        QVERIFY(store.setText("empty", QString()));
        QVERIFY(store.setData("tracking.sentBooks", bytes));

        const PreferencesStore next(m_path);
        QCOMPARE(next.text("sender.name"), text);
        QCOMPARE(next.text("empty"), "");
        QCOMPARE(next.data("tracking.sentBooks"), bytes);
        QVERIFY(!next.text("absent"));

        QVERIFY(store.remove("tracking.sentBooks"));
        QVERIFY(store.remove("absent"));
        QVERIFY(!next.data("tracking.sentBooks"));
        QCOMPARE(next.text("sender.name"), text);
        QCOMPARE(QFile::permissions(m_path) & QFile::Permissions(0x0077), QFile::Permissions());
        QCOMPARE(filesBeside(), QStringList("settings.json"));
    }

    void keepsWhatIsNoSettingsFileAside() {
        const QByteArray name = R"({"sender.name": "A"})";
        const QByteArray largest = name.leftJustified(qsizetype(64) << 20, ' ');
        for (const QByteArray& bytes : {QByteArray("[General]\nname=x"), name.chopped(2),
                                        QByteArray("[1]"), QByteArray(), largest + ' '}) {
            init();
            test::writeFile(m_path, bytes);
            PreferencesStore store(m_path);
            QVERIFY(!store.text("sender.name"));
            QCOMPARE(filesBeside(), QStringList("settings.json")); // reading changes nothing

            QVERIFY(store.setText("sender.name", "B"));
            QCOMPARE(store.text("sender.name"), "B");
            QCOMPARE(filesBeside().size(), 2);
            QVERIFY(test::contentsOf(m_folder->filePath(filesBeside().last())) == bytes);
        }
        test::writeFile(m_path, largest);
        QCOMPARE(PreferencesStore(m_path).text("sender.name"), "A");
    }

    void isNotHeldUpByAPipe() {
        QCOMPARE(mkfifo(QFile::encodeName(m_path).constData(), 0600), 0);
        PreferencesStore store(m_path);
        QVERIFY(!store.text("sender.name"));
        QVERIFY(store.setText("sender.name", "B"));
        QCOMPARE(store.text("sender.name"), "B");
    }

    void readsValuesOfAnotherKindAsAbsent() {
        const SentBook book{
            QUuid::createUuid(), "2025-03-14", {{QUuid::createUuid(), "Ż", "", "1"}}, {}};
        const QByteArray registers[] = {"5", R"({"base64": "%%%"})",
                                        R"({"base64": "W3t9XQ=="})"}; // an unreadable entry
        for (const QByteArray& sent : registers) {
            test::writeFile(m_path, R"({"sender.name": 5, "iphone.mode": null, "future": [1],
                "tracking.sentBooks": )" +
                                        sent + '}');
            AppSettings settings{PreferencesStore(m_path)};
            QCOMPARE(settings.senderName(), "");
            QCOMPARE(settings.iphoneMode(), "undecided");
            QCOMPARE(settings.loadSentBooks(), QList<SentBook>());
            settings.appendSentBook(book);
            QCOMPARE(AppSettings(PreferencesStore(m_path)).loadSentBooks(), QList<SentBook>{book});
            QVERIFY(test::contentsOf(m_path).contains("\"future\": [")); // a later version's
        }
    }

    /// Each write locks for itself: threads are in each other's way just as processes are.
    void losesNothingWhenManyWriteAtOnce() {
        std::vector<std::jthread> writers;
        writers.reserve(4);
        for (const char* writer : {"a", "b", "c", "d"}) {
            writers.emplace_back([this, writer] {
                for (int number = 0; number < 12; ++number)
                    PreferencesStore(m_path).setText(writer + QString::number(number), "v");
            });
        }
        writers.clear(); // when all have ended
        QCOMPARE(test::contentsOf(m_path).count("\"v\""), 4 * 12);
        QCOMPARE(filesBeside(), QStringList("settings.json"));
    }

    void survivesAReadOnlyHome() {
        test::writeFile(m_path, R"({"sender.name": "A"})");
        PreferencesStore store(m_path);
        QElapsedTimer timer;
        timer.start();
        QFile::setPermissions(m_folder->path(), QFile::Permissions(0x5555));
        {
            const test::OrdinaryUser user;
            QVERIFY(!store.setText("sender.name", "B"));
        }
        QFile::setPermissions(m_folder->path(), QFile::Permissions(0x7755));
        QVERIFY2(timer.elapsed() < 5000, "waited for a lock that can never be had");
        QCOMPARE(store.text("sender.name"), "A");
    }

    /// A bound on the size of files fails writes just as a full disk does.
    void survivesAFullDisk() {
        test::writeFile(m_path, R"({"sender.name": "A"})");
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit whole{};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &whole), 0);
        const rlimit little{1000, whole.rlim_max}; // for the lock, not for the settings
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &little), 0);
        PreferencesStore store(m_path);
        const bool isWritten = store.setText("sender.name", QString(2000, u'B'));
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &whole), 0);
        QVERIFY(!isWritten);
        QCOMPARE(store.text("sender.name"), "A");
        QCOMPARE(filesBeside(), QStringList("settings.json"));
    }

private:
    QStringList filesBeside() const {
        return QDir(m_folder->path()).entryList(QDir::Files | QDir::Hidden);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;
};

QTEST_GUILESS_MAIN(SettingsTest)
#include "SettingsTest.moc"
