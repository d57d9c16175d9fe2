#include "app/printing/LoadedPrintWork.h"

#include "app/common/LateModule.h"

#include <utility>

namespace kopertal {
namespace {

class NoPrintWork : public PrintWork {
public:
    explicit NoPrintWork(QString reason) : m_reason(std::move(reason)) {}

    PrintSetup lookUp(const QString&, const std::stop_token&) override {
        PrintSetup setup;
        setup.error = m_reason;
        return setup;
    }

    PrintResult print(const PrintOrder&, const PrintProgress&, const std::stop_token&) override {
        PrintResult result;
        result.error = m_reason;
        return result;
    }

private:
    QString m_reason;
};

} // namespace

std::unique_ptr<PrintWork> loadPrintWork() {
    const LateFunction make = lateFunction("print", "kopertalPrintWork");
    if (make.address == nullptr)
        return std::make_unique<NoPrintWork>(make.problem);
    return std::unique_ptr<PrintWork>(make.as<MakePrintWork>()());
}

} // namespace kopertal
