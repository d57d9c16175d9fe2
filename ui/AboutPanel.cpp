#include "ui/AboutPanel.h"

#include "ui/FocusRing.h"
#include "ui/Fonts.h"
#include "ui/Labels.h"
#include "ui/LinkButton.h"
#include "ui/MorvikAboutCommand.h"
#include "ui/RaiseWindow.h"
#include "ui/Tones.h"

#include <QApplication>
#include <QLabel>
#include <QVBoxLayout>

namespace morvik {
namespace {

constexpr int iconSize = 96;
constexpr int sidePadding = 48;
constexpr int verticalPadding = 28;
constexpr int leastWidth = 320;

} // namespace

AboutPanel::AboutPanel(const MorvikAboutCommand& about, QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                          Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint) {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(about.appName + QStringLiteral(" — informacje"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(sidePadding, verticalPadding, sidePadding, verticalPadding);
    column->setSpacing(6);
    column->setSizeConstraint(QLayout::SetFixedSize);
    const QIcon icon = QApplication::windowIcon();
    if (!icon.isNull()) {
        auto* picture = new QLabel;
        picture->setPixmap(icon.pixmap(QSize(iconSize, iconSize), devicePixelRatioF()));
        picture->setAccessibleName(QStringLiteral("Ikona programu"));
        column->addWidget(picture, 0, Qt::AlignHCenter);
        column->addSpacing(8);
    }
    column->addWidget(plainLabel(about.appName, sheetTitleFont(), Tones::label), 0,
                      Qt::AlignHCenter);
    auto* version =
        plainLabel(QStringLiteral("Wersja %1 (%2)").arg(about.appVersion, about.buildNumber),
                   smallFont(), Tones::secondaryLabel);
    version->setTextInteractionFlags(Qt::TextSelectableByMouse |
                                     Qt::TextSelectableByKeyboard); // for a report
    version->setFocusPolicy(Qt::StrongFocus);
    addFocusRing(version, navyRing(3, 1));
    column->addWidget(version, 0, Qt::AlignHCenter);
    column->addSpacing(8);
    auto* site = new LinkButton(about.websiteLabel, about.websiteURL, uiFont(11), Tones::link);
    column->addWidget(site, 0, Qt::AlignHCenter);
    setFocusPolicy(Qt::StrongFocus); // else the link would have the keyboard at once
    setFocus();
    column->addStrut(leastWidth - 2 * sidePadding);
}

void AboutPanel::present() {
    raiseWindow(this);
}

} // namespace morvik
