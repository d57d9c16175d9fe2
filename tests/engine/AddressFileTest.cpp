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
    void decodesWhatSendersHave() {
        const QByteArray mark = "\xef\xbb\xbf";
        const std::pair<QByteArray, QString> cases[] = {
            {"Żółć\n😀", "Żółć\n😀"},
            {mark + "A", "A"},
            {mark + mark + "A", QChar(0xfeff) + QString("A")},
            {"\x8cwi\xeaty \xb9\x9c\x9f", "Święty ąśź"},
            {"\xa6\xb1\x81", "Śą\u0081"}, // ISO 8859-2, for 0x81 has no meaning before
            {"za\xc5", "zaĹ"},
            {"\xc0\xaf", "ŔŻ"}, // an overlong sequence is not UTF-8
            {"a\r\nb\rc\r\r\nd\n\r", "a\nb\nc\n\nd\n\n"},
            {QByteArray("\xff\xfe\x41\0\r\0\n\0\x41\1", 10), "A\nŁ"},
            {QByteArray("\xfe\xff\1\x41", 4), "Ł"},
            {"", ""}};
        for (auto [bytes, text] : cases) {
            QCOMPARE(decodeAddresses(bytes), text);
            QBuffer source(&bytes);
            QVERIFY(source.open(QIODevice::ReadOnly));
            QCOMPARE(readAddresses(source, "x"), text);
        }
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
