#include "app/common/LateModule.h"

#include <QTest>

namespace kopertal {

class LateModuleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatCannotBeUsedIsNamed_data() {
        QTest::addColumn<QByteArray>("module");
        QTest::addColumn<QByteArray>("symbol");
        QTest::addColumn<QString>("problem");
        QTest::newRow("not installed")
            << QByteArray("absent") << QByteArray("kopertalGenerate") << "absent.so";
        QTest::newRow("damaged") << QByteArray("register") << QByteArray("absent")
                                 << "undefined symbol: absent";
        QTest::newRow("replaced by another version")
            << QByteArray("replaced") << QByteArray("kopertalGenerate") << "został zaktualizowany";
    }

    void whatCannotBeUsedIsNamed() {
        QFETCH(QByteArray, module);
        QFETCH(QByteArray, symbol);
        QFETCH(QString, problem);
        const LateFunction function = lateFunction(module.constData(), symbol.constData());
        QVERIFY(function.address == nullptr);
        QVERIFY2(function.problem.contains(problem), qPrintable(function.problem));
    }
};

} // namespace kopertal

QTEST_GUILESS_MAIN(kopertal::LateModuleTest)
#include "LateModuleTest.moc"
