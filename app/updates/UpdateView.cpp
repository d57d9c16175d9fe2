#include "app/updates/UpdateView.h"

#include "app/common/Theme.h"
#include "app/updates/UpdateFeed.h"
#include "ui/Fonts.h"
#include "ui/Labels.h"
#include "ui/Layouts.h"
#include "ui/LimeActionButton.h"
#include "ui/LimeBorderedButton.h"
#include "ui/SectionCard.h"
#include "ui/SmallButtons.h"

#include <QApplication>
#include <QLabel>
#include <QPlainTextEdit>
#include <QVBoxLayout>

namespace kopertal {
namespace {

constexpr int padding = 24;
constexpr int iconSize = 64;
constexpr int notesHeight = 180;
constexpr int dialogWidth = 520;

QWidget* makeNotes(const QString& notes) {
    auto* text = new QPlainTextEdit(notes);
    text->setAccessibleName(QStringLiteral("Co nowego"));
    text->setReadOnly(true);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    text->setTabChangesFocus(true);
    text->setFrameShape(QFrame::NoFrame);
    text->setFont(morvik::textFont());
    auto* card = new morvik::SectionCard({}, text);
    card->setPadding(8);
    card->followFocusOf(text);
    card->setMinimumHeight(notesHeight);
    return card;
}

QLayout* makeHeader(const QString& versions) {
    auto* words = new QVBoxLayout;
    words->setSpacing(6);
    words->addStretch();
    words->addWidget(morvik::wrappedLabel(QStringLiteral("Dostępna jest nowa wersja"),
                                          morvik::sheetTitleFont(), Theme::textMain));
    words->addWidget(morvik::wrappedLabel(versions, morvik::textFont(), Theme::textMuted));
    words->addStretch();
    return morvik::beside(QApplication::windowIcon(), iconSize, words);
}

} // namespace

UpdateView::UpdateView(const Release& release, const QString& ownVersion, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(QStringLiteral("Aktualizacje — Kopertal"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(16);
    column->addLayout(
        makeHeader(QStringLiteral("Kopertal %1 jest już do pobrania. Używasz wersji %2.")
                       .arg(release.versionText, ownVersion)));
    if (!release.notes.isEmpty()) {
        column->addWidget(morvik::plainLabel(QStringLiteral("Co nowego"), morvik::headlineFont(),
                                             Theme::textMain));
        column->addWidget(makeNotes(release.notes), 1);
    }

    auto* skip = new morvik::TextButton(QStringLiteral("Pomiń tę wersję"));
    auto* later = new morvik::LimeBorderedButton(QStringLiteral("Przypomnij później"));
    auto* open =
        new morvik::LimeActionButton(QStringLiteral("Otwórz stronę"), QStringLiteral("link"));
    open->setToolTip(release.page.toDisplayString());
    open->setDefault(true);
    connect(skip, &QPushButton::clicked, this, &UpdateView::skipRequested);
    connect(open, &QPushButton::clicked, this, &UpdateView::pageRequested);
    for (QPushButton* button : QList<QPushButton*>{skip, later, open}) {
        connect(button, &QPushButton::clicked, this, &QDialog::close);
        button->setMinimumHeight(open->sizeHint().height());
    }
    auto* answers = new QHBoxLayout;
    answers->setSpacing(12);
    answers->addWidget(skip);
    answers->addStretch();
    answers->addWidget(later);
    answers->addWidget(open);
    column->addLayout(answers);
    open->setFocus();
    resize(dialogWidth, sizeHint().height());
}

} // namespace kopertal
