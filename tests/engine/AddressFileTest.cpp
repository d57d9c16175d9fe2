#include "engine/AddressFile.h"

#include "engine/EngineError.h"

#include <QBuffer>
#include <QTest>

using namespace kopertal;

class FailingDevice : public QIODevice {
protected:
    qint64 readData(char*, qint64) override {
        setErrorString(QStringLiteral("the disk is gone"));
        return -1;
    }
    qint64 writeData(const char*, qint64) override { return -1; }
};

class AddressFileTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void decodesWhatSendersHave_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");

        const QByteArray mark = "\xef\xbb\xbf";
        QTest::newRow("UTF-8") << QByteArray("Żółć\n😀") << QString("Żółć\n😀");
        QTest::newRow("UTF-8 with a mark") << mark + "A" << QString("A");
        QTest::newRow("only one mark is dropped")
            << mark + mark + "A" << QString(QChar(0xfeff)) + "A";
        QTest::newRow("Windows-1250")
            << QByteArray("\x8cwi\xeaty \xb9\x9c\x9f") << QString("Święty ąśź");
        QTest::newRow("ISO 8859-2, for 0x81 has no meaning before")
            << QByteArray("\xa6\xb1\x81") << QStringLiteral("Śą\u0081");
        QTest::newRow("a cut UTF-8 sequence is not UTF-8")
            << QByteArray("za\xc5") << QString("zaĹ");
        QTest::newRow("an overlong sequence is not UTF-8")
            << QByteArray("\xc0\xaf") << QString("ŔŻ");
        QTest::newRow("CR LF and CR")
            << QByteArray("a\r\nb\rc\r\r\nd\n\r") << QString("a\nb\nc\n\nd\n\n");
        QTest::newRow("UTF-16, little end first")
            << QByteArray("\xff\xfe\x41\0\r\0\n\0\x41\1", 10) << QString("A\nŁ");
        QTest::newRow("UTF-16, big end first") << QByteArray("\xfe\xff\1\x41", 4) << QString("Ł");
        QTest::newRow("nothing") << QByteArray() << QString();
    }

    void decodesWhatSendersHave() {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, text);
        QCOMPARE(decodeAddresses(bytes), text);
        QBuffer source(&bytes);
        QVERIFY(source.open(QIODevice::ReadOnly));
        QCOMPARE(readAddresses(source, "x"), text);
    }

    void refusesWhatIsNoText() { QVERIFY(!decodeAddresses(QByteArray("a\0b", 3))); }

    void readsAVeryLargeText() {
        const QByteArray block = "Jan\r\nul. A\r\n\r\n"; // slow line ends would take minutes
        QCOMPARE(decodeAddresses(block.repeated(3'000'000))->size(), 33'000'000);
    }

    void passesAReadFailureOn() {
        FailingDevice source;
        source.open(QIODevice::ReadOnly);
        try {
            readAddresses(source, "dane");
            QFAIL("no failure");
        } catch (const FileError& error) {
            QCOMPARE(error.what(), "dane: the disk is gone");
        }
    }
};

QTEST_APPLESS_MAIN(AddressFileTest)
#include "AddressFileTest.moc"
