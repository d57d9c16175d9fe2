#include "scan/ReadingOrder.h"

#include <algorithm>

namespace kopertal {
namespace {

double centreX(const Barcode& code) {
    return code.box.center().x();
}

double centreY(const Barcode& code) {
    return code.box.center().y();
}

double spread(const QList<Barcode>& codes, double (*centre)(const Barcode&)) {
    if (codes.isEmpty())
        return 0;
    const auto [least, most] = std::ranges::minmax_element(codes, {}, centre);
    return centre(*most) - centre(*least);
}

} // namespace

QList<Barcode> inReadingOrder(QList<Barcode> codes) {
    if (spread(codes, centreX) > spread(codes, centreY))
        std::ranges::stable_sort(codes, std::less{}, centreX);
    else
        std::ranges::stable_sort(codes, std::greater{}, centreY);
    return codes;
}

} // namespace kopertal
