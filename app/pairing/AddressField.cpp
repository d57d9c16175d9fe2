#include "app/pairing/AddressField.h"

#include "app/common/Theme.h"
#include "ui/FocusRing.h"
#include "ui/Fonts.h"
#include "ui/SelectableText.h"
#include "ui/SmallButtons.h"
#include "ui/Tones.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QPainter>

#include <chrono>

namespace kopertal {
namespace {

constexpr double radius = 6;
constexpr std::chrono::milliseconds confirmationTime{1500};

} // namespace

AddressField::AddressField(const QString& name, QWidget* parent)
    : QWidget(parent),
      m_text(new morvik::SelectableText(name, morvik::textFont(), Theme::textMain)),
      m_copy(new morvik::IconButton(QStringLiteral("doc.on.doc"),
                                    QStringLiteral("Kopiuj do schowka"),
                                    morvik::Tones::secondaryLabel)) {
    m_copy->setEnabled(false);
    connect(m_copy, &morvik::IconButton::clicked, this, &AddressField::copy);
    m_confirmation.setSingleShot(true);
    m_confirmation.setInterval(confirmationTime);
    connect(&m_confirmation, &QTimer::timeout, this,
            [this] { m_copy->setIconName(QStringLiteral("doc.on.doc")); });
    morvik::RingShape ring = morvik::limeRing(radius);
    ring.always = true;
    ring.gap = 2;
    morvik::addFocusRing(m_text, ring);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(11, 4, 4, 4);
    row->setSpacing(4);
    row->addWidget(m_text, 1, Qt::AlignVCenter);
    row->addWidget(m_copy);
}

void AddressField::setAddress(const QString& address) {
    m_text->setPlainText(address);
    m_copy->setEnabled(true);
}

void AddressField::copy() {
    QGuiApplication::clipboard()->setText(m_text->toPlainText());
    m_copy->setIconName(QStringLiteral("checkmark"));
    m_confirmation.start();
}

void AddressField::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Theme::border, 1));
    painter.setBrush(Theme::card);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

} // namespace kopertal
