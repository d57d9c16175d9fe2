#include "app/pairing/PairingChoiceView.h"

#include "app/common/Theme.h"
#include "app/scanning/PhoneTile.h"
#include "ui/Fonts.h"
#include "ui/IconLabel.h"
#include "ui/Labels.h"
#include "ui/LimeBorderedButton.h"
#include "ui/Sheet.h"
#include "ui/SmallButtons.h"

#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace kopertal {

using morvik::centredLabel;

namespace {

constexpr int sheetWidth = 380;
constexpr int padding = 24;
constexpr int iconSize = 40;
constexpr int iconPadding = 12;
constexpr int checkSize = 14;

/// What speaks for pairing, in a white box.
class Benefits : public QWidget {
public:
    Benefits() {
        auto* rows = new QVBoxLayout(this);
        rows->setContentsMargins(16, 12, 16, 12);
        rows->setSpacing(8);
        for (const QString& text : {QStringLiteral("Bez skanowania kodu QR za każdym razem"),
                                    QStringLiteral("Ikona na ekranie iPhone jak zwykła aplikacja"),
                                    QStringLiteral("Jedno kliknięcie — od razu robisz zdjęcie")}) {
            auto* row = new QHBoxLayout;
            row->setSpacing(8);
            row->addWidget(new morvik::IconLabel(QStringLiteral("checkmark.circle.fill"), checkSize,
                                                 Theme::success));
            row->addWidget(morvik::wrappedLabel(text, morvik::textFont(), Theme::textMain), 1);
            rows->addLayout(row);
        }
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(Theme::border, 1));
        painter.setBrush(Theme::card);
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 8, 8);
    }
};

} // namespace

PairingChoiceView::PairingChoiceView(QWidget* parent)
    : QWidget(parent),
      m_pair(new morvik::LimeBorderedButton(QStringLiteral("Tak, sparuj iPhone'a"),
                                            QStringLiteral("link"))) {
    setFixedWidth(morvik::Sheet::contentWidth(sheetWidth));
    auto* scan = new morvik::TextButton(QStringLiteral("Nie, skanuj kod QR za każdym razem"));
    connect(m_pair, &morvik::LimeBorderedButton::clicked, this,
            [this] { choose(QStringLiteral("paired")); });
    connect(scan, &morvik::TextButton::clicked, this, [this] { choose(QStringLiteral("qr")); });

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(0);
    column->addWidget(new PhoneTile(iconSize, iconPadding), 0, Qt::AlignHCenter);
    column->addSpacing(12);
    column->addWidget(
        centredLabel(QStringLiteral("Sparuj iPhone'a"), morvik::sheetTitleFont(), Theme::primary));
    column->addSpacing(8);
    column->addWidget(centredLabel(QStringLiteral("Jeśli zawsze korzystasz z tego samego iPhone'a, "
                                                  "możesz go sparować z aplikacją."),
                                   morvik::textFont(), Theme::textMain));
    column->addSpacing(20);
    column->addWidget(new Benefits);
    column->addSpacing(12);
    column->addWidget(
        centredLabel(QStringLiteral("Oba urządzenia muszą być w tej samej sieci Wi-Fi."),
                     morvik::uiFont(11), Theme::textMuted));
    column->addSpacing(20);
    column->addWidget(m_pair);
    column->addSpacing(10);
    column->addWidget(scan, 0, Qt::AlignHCenter);
}

QWidget* PairingChoiceView::defaultButton() const {
    return m_pair;
}

void PairingChoiceView::choose(const QString& mode) {
    Q_EMIT choice(mode);
    Q_EMIT closeRequested();
}

} // namespace kopertal
