#include "app/common/LateModule.h"

#include <QTest>

using namespace kopertal;

class LateModuleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatCannotBeUsedIsNamed() {
        const std::tuple<const char*, const char*, QString> cases[] = {
            {"absent", "kopertalGenerate", "absent.so"},
            {"register", "absent", "undefined symbol: absent"}, // damaged
            {"replaced", "kopertalGenerate", "został zaktualizowany"}};
        for (const auto& [module, symbol, problem] : cases) {
            const LateFunction function = lateFunction(module, symbol);
            QVERIFY(function.address == nullptr);
            QVERIFY2(function.problem.contains(problem), qPrintable(function.problem));
        }
    }
};

QTEST_GUILESS_MAIN(LateModuleTest)
#include "LateModuleTest.moc"
