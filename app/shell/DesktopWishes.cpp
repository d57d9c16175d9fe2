#include "app/shell/DesktopWishes.h"

#include "ui/DesktopSettings.h"
#include "ui/Fonts.h"
#include "ui/Motion.h"

#include <QTimer>

#include <chrono>
#include <utility>

namespace kopertal {
namespace {

constexpr std::chrono::milliseconds firstPictureTime{150}; // ample
const auto textFactorKey = QStringLiteral("window.textFactor");

} // namespace

DesktopWishes::DesktopWishes(PreferencesStore store, bool isDisplaySilent)
    : m_store(std::move(store)), m_isDisplaySilent(isDisplaySilent) {
    if (!isDisplaySilent)
        return;
    const double kept = m_store.text(textFactorKey).value_or(QString()).toDouble();
    if (kept >= morvik::leastTextFactor && kept <= morvik::largestTextFactor)
        m_textFactor = kept;
    morvik::setTextFactor(m_textFactor);
}

void DesktopWishes::followLater() {
    QTimer::singleShot(firstPictureTime, this, &DesktopWishes::follow);
}

void DesktopWishes::follow() {
    morvik::followDesktopSettings(this,
                                  {&morvik::setMotionWanted, [this](double factor) {
                                       if (m_isDisplaySilent && factor != m_textFactor &&
                                           m_store.setText(textFactorKey, QString::number(factor)))
                                           m_textFactor = factor;
                                   }});
}

} // namespace kopertal
