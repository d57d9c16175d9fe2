#include "app/help/HelpView.h"

#include "app/common/Theme.h"
#include "app/help/HelpParts.h"
#include "ui/Fonts.h"
#include "ui/Labels.h"
#include "ui/Layouts.h"
#include "ui/LinkButton.h"
#include "ui/MorvikHelpCommands.h"
#include "ui/Tones.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QScrollBar>
#include <QStyle>
#include <QVBoxLayout>

namespace kopertal {

using morvik::plainLabel;
using morvik::wrappedLabel;

namespace {

constexpr QSize pageSize{600, 700};
constexpr QSize leastSize{360, 240};
constexpr int padding = 30;
constexpr int itemGap = 24;
constexpr int iconSize = 64;

QLayout* makeHeader() {
    const QString version = QApplication::applicationVersion();
    auto* words = new QVBoxLayout;
    words->setSpacing(4);
    words->addStretch();
    words->addWidget(
        plainLabel(QStringLiteral("Kopertal — pomoc"), morvik::sheetTitleFont(), Theme::textMain));
    words->addWidget(
        plainLabel(QStringLiteral("Wersja ") + (version.isEmpty() ? QStringLiteral("?") : version),
                   morvik::smallFont(), morvik::Tones::secondaryLabel));
    words->addStretch();
    return morvik::beside(QApplication::windowIcon(), iconSize, words);
}

QWidget* makeShortcuts() {
    auto* rows = new QWidget;
    auto* column = new QVBoxLayout(rows);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(4);
    column->addWidget(shortcutRow(QStringLiteral("⌘↩"), QStringLiteral("Stwórz kopertal")));
    column->addWidget(shortcutRow(QStringLiteral("⌘⌫"), QStringLiteral("Wyczyść adresy")));
    column->addWidget(shortcutRow(QStringLiteral("⌘,"), QStringLiteral("Ustawienia nadawcy")));
    column->addWidget(shortcutRow(QStringLiteral("⌘?"), QStringLiteral("Pomoc")));
    return rows;
}

QWidget* makeContact(const QString& email) {
    auto* line = new QWidget;
    auto* row = new QHBoxLayout(line);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    row->addWidget(plainLabel(QStringLiteral("Pytania i sugestie:"), morvik::textFont(),
                              morvik::Tones::secondaryLabel));
    row->addWidget(
        new morvik::LinkButton(email,
                               QStringLiteral("mailto:%1?subject=%2")
                                   .arg(email, morvik::queryEncoded(QStringLiteral("Kopertal"))),
                               morvik::textFont(), morvik::MorvikTheme::Colors::limeDark));
    row->addStretch();
    return line;
}

QList<QWidget*> makeSections() {
    return {
        helpSection(
            QStringLiteral("list.clipboard"), QStringLiteral("Adresy odbiorców"),
            QStringLiteral("Wpisz lub wklej adresy odbiorców w polu tekstowym. Każdy adres musi "
                           "zawierać co najmniej dwie linie — nazwę i adres."),
            {QStringLiteral("Adresy oddzielaj pustą linią"),
             QStringLiteral("Możesz przeciągnąć plik .txt z adresami"),
             QStringLiteral("Podgląd rozpoznanych adresów na bieżąco w tabeli po prawej")},
            QStringLiteral("Każdy adresat musi być oddzielony od następnego pustą linią. Bez tego "
                           "program nie rozpozna, gdzie kończy się jeden adres, a zaczyna "
                           "kolejny.")),
        helpSection(QStringLiteral("doc.badge.plus"), QStringLiteral("Generowanie dokumentu"),
                    QStringLiteral("Kliknij „Stwórz kopertal” lub użyj ⌘↩."),
                    {QStringLiteral("Plik zapisywany automatycznie jako kopertal_RRRRMMDD.docx"),
                     QStringLiteral("Możliwość otwarcia lub wydrukowania od razu po wygenerowaniu"),
                     QStringLiteral("Dane nadawcy pobierane z ustawień (⌘,)")},
                    std::nullopt),
        helpSection(
            QStringLiteral("iphone.radiowaves.left.and.right"),
            QStringLiteral("Skanowanie z iPhone"),
            QStringLiteral("Sparuj iPhone'a z aplikacją, aby skanować kody kreskowe z kopertal "
                           "aparatem telefonu."),
            {QStringLiteral("Parowanie — iPhone dodaje ikonę na ekran główny"),
             QStringLiteral("Jedno kliknięcie na iPhone — od razu aparat"),
             QStringLiteral("Kody kreskowe rozpoznawane automatycznie"),
             QStringLiteral("Oba urządzenia muszą być w tej samej sieci Wi-Fi")},
            QStringLiteral("Przy pierwszym kliknięciu „Skanuj” aplikacja zapyta czy chcesz "
                           "sparować iPhone'a na stałe, czy skanować kodem QR za każdym razem.")),
        helpSection(
            QStringLiteral("shippingbox"), QStringLiteral("Śledzenie przesyłek"),
            QStringLiteral("W zakładce „Śledzenie listów poleconych” możesz sprawdzić status "
                           "przesyłek Poczty Polskiej."),
            {QStringLiteral("Dodaj numer nadawczy ręcznie lub przez skanowanie z iPhone"),
             QStringLiteral("Kliknij „Sprawdź statusy” aby odpytać Pocztę Polską"),
             QStringLiteral("Sortowanie po numerze nadawczym lub dacie — kliknij nagłówek "
                            "kolumny"),
             QStringLiteral("Szczegóły przesyłki i historia zdarzeń po kliknięciu w wiersz")},
            std::nullopt)};
}

} // namespace

HelpView::HelpView(const QString& supportEmail, QWidget* parent) : QScrollArea(parent) {
    auto* page = new QWidget;
    morvik::setGround(page, Theme::card);
    auto* column = new QVBoxLayout(page);
    const int scrollBar = style()->pixelMetric(QStyle::PM_ScrollBarExtent); // stands in the padding
    column->setContentsMargins(padding, padding, padding - scrollBar, padding);
    column->setSpacing(itemGap);
    column->addLayout(makeHeader());
    column->addWidget(morvik::makeDivider(Theme::border));
    column->addWidget(wrappedLabel(
        QStringLiteral("Kopertal pozwala szybko wygenerować kopertal w formacie .docx, gotową do "
                       "wydruku. Wpisz adresy odbiorców, kliknij przycisk i gotowe."),
        morvik::textFont(), Theme::textMain));
    for (QWidget* section : makeSections())
        column->addWidget(section);
    column->addWidget(morvik::makeDivider(Theme::border));
    column->addWidget(helpTopic(QStringLiteral("keyboard"), QStringLiteral("Skróty klawiszowe"),
                                makeShortcuts()));
    column->addWidget(helpTopic(
        QStringLiteral("gearshape"), QStringLiteral("Ustawienia"),
        wrappedLabel(QStringLiteral("W menu programu (Kopertal → Ustawienia) ustaw nazwę i adres "
                                    "nadawcy oraz folder zapisu dokumentów."),
                     morvik::textFont(), morvik::Tones::secondaryLabel)));
    column->addWidget(helpTopic(QStringLiteral("envelope"), QStringLiteral("Kontakt"),
                                makeContact(supportEmail)));
    column->addStretch();

    setAccessibleName(QStringLiteral("Kopertal — pomoc"));
    morvik::setGround(this, Theme::card);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidgetResizable(true);
    setWidget(page);
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(leastSize);
    resize(pageSize);
}

QSize HelpView::sizeHint() const {
    return pageSize;
}

/// Beside the arrows and pages that the toolkit scrolls by.
void HelpView::keyPressEvent(QKeyEvent* event) {
    QScrollBar* bar = verticalScrollBar();
    const bool goesBack = event->modifiers() & Qt::ShiftModifier;
    if (event->key() == Qt::Key_Home)
        bar->triggerAction(QScrollBar::SliderToMinimum);
    else if (event->key() == Qt::Key_End)
        bar->triggerAction(QScrollBar::SliderToMaximum);
    else if (event->key() == Qt::Key_Space)
        bar->triggerAction(goesBack ? QScrollBar::SliderPageStepSub
                                    : QScrollBar::SliderPageStepAdd);
    else
        QScrollArea::keyPressEvent(event);
}

} // namespace kopertal
