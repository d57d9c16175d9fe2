#include "ui/Motion.h"

#include <QApplication>

namespace morvik {
namespace {

bool isWantedNow = true;

} // namespace

bool isMotionWanted() {
    return isWantedNow;
}

void setMotionWanted(bool isWanted) {
    isWantedNow = isWanted;
    if (isWanted)
        return; // the toolkit has the effects that the desktop gave it
    for (const Qt::UIEffect effect :
         {Qt::UI_AnimateMenu, Qt::UI_FadeMenu, Qt::UI_AnimateCombo, Qt::UI_AnimateTooltip,
          Qt::UI_FadeTooltip, Qt::UI_AnimateToolBox})
        QApplication::setEffectEnabled(effect, false);
}

} // namespace morvik
