#include "app/http/LoadedHttpCarrier.h"

#include "app/common/LateModule.h"

#include <exception>
#include <string>
#include <utility>

namespace kopertal {
namespace {

class NoCarrier : public HttpCarrier {
public:
    explicit NoCarrier(std::string reason) : m_reason(std::move(reason)) {}

    void send(HttpRequest, Completion completion) override {
        HttpAnswer answer;
        answer.failure = HttpFailure::other;
        answer.detail = m_reason;
        completion(std::move(answer));
    }

private:
    std::string m_reason;
};

} // namespace

std::unique_ptr<HttpCarrier> loadHttpCarrier(const HttpOptions& options) {
    const LateFunction make = lateFunction("http", "kopertalHttpCarrier");
    if (make.address == nullptr)
        return std::make_unique<NoCarrier>(make.problem.toStdString());
    try {
        return std::unique_ptr<HttpCarrier>(make.as<MakeHttpCarrier>()(options));
    } catch (const std::exception& error) {
        return std::make_unique<NoCarrier>(error.what());
    }
}

} // namespace kopertal
