#include "app/printing/PrintView.h"

#include "app/common/Theme.h"
#include "app/printing/PrintFields.h"
#include "net/Deliver.h"
#include "ui/Fonts.h"
#include "ui/IconLabel.h"
#include "ui/Labels.h"
#include "ui/Layouts.h"
#include "ui/LimeActionButton.h"
#include "ui/MorvikStyle.h"
#include "ui/Spinner.h"
#include "ui/Tones.h"

#include <QAccessible>
#include <QCheckBox>
#include <QFileInfo>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QProgressBar>
#include <QtConcurrentRun>

#include <utility>

namespace kopertal {

using morvik::plainLabel;
using morvik::wrappedLabel;
namespace Tones = morvik::Tones;

namespace {

constexpr int sheetWidth = 480;
constexpr int padding = 20;
constexpr int labelWidth = 88;
constexpr int mostCopies = 999;
constexpr int spinnerSize = 20;
constexpr int wholeProgress = 1000;

QString pageWord(int pages) {
    const bool isFew = pages % 10 >= 2 && pages % 10 <= 4 && pages / 10 % 10 != 1;
    return pages == 1 ? QStringLiteral("1 strona")
                      : QStringLiteral("%1 %2").arg(pages).arg(isFew ? QStringLiteral("strony")
                                                                     : QStringLiteral("stron"));
}

} // namespace

/// How far the work is, as a lime bar.
class ProgressLine : public QProgressBar {
public:
    ProgressLine() {
        setFixedHeight(6);
        setMaximum(wholeProgress);
        setAccessibleName(QStringLiteral("Postęp"));
    }

    void setShare(double share) { setValue(qRound(share * wholeProgress)); }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        const double radius = height() / 2.0;
        painter.setBrush(Tones::border);
        painter.drawRoundedRect(rect(), radius, radius);
        painter.setBrush(morvik::MorvikTheme::Colors::limeDark);
        QRectF done(rect());
        done.setWidth(done.width() * value() / wholeProgress);
        painter.drawRoundedRect(done, radius, radius);
    }
};

PrintView::PrintView(const QString& document, std::unique_ptr<PrintWork> work, QWidget* parent)
    : QWidget(parent),
      m_document(document),
      m_work(std::move(work)),
      m_form(makeForm()),
      m_waiting(makeWaiting()) {
    using morvik::LimeActionButton;
    m_thread.setMaxThreadCount(1);
    setFixedWidth(sheetWidth);
    m_cancel = new LimeActionButton(QStringLiteral("Anuluj"), QStringLiteral("xmark"));
    m_print = new LimeActionButton(QStringLiteral("Drukuj"), QStringLiteral("printer"));
    m_close = new LimeActionButton(QStringLiteral("OK"), QStringLiteral("checkmark"));
    connect(m_cancel, &LimeActionButton::clicked, this, &PrintView::cancel);
    connect(m_print, &LimeActionButton::clicked, this, &PrintView::print);
    connect(m_close, &LimeActionButton::clicked, this, &PrintView::closeRequested);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(8);
    column->addWidget(
        wrappedLabel(QStringLiteral("Drukowanie"), morvik::headlineFont(), Tones::label));
    column->addWidget(
        wrappedLabel(QFileInfo(document).fileName(), morvik::monoFont(11), Tones::secondaryLabel));
    column->addSpacing(4);
    column->addWidget(m_form);
    column->addWidget(m_waiting);
    column->addSpacing(8);
    column->addLayout(morvik::actionRow({m_cancel, m_print, m_close}));
    enter(State::lookingUp, QStringLiteral("Szukanie drukarek…"));
    lookUp();
}

PrintView::~PrintView() {
    m_stop.request_stop();
    m_thread.waitForDone();
}

QWidget* PrintView::makeForm() {
    m_printer = new ChoiceField;
    m_copies = new NumberField;
    m_copies->setRange(1, mostCopies);
    m_collated = new QCheckBox(QStringLiteral("Kompletami (1, 2, 3, 1, 2, 3)"));
    m_collated->setChecked(true);
    m_collated->setEnabled(false);
    m_collated->setMinimumHeight(m_copies->sizeHint().height()); // its text level with the label's
    connect(m_copies, &QSpinBox::valueChanged, m_collated,
            [this](int copies) { m_collated->setEnabled(copies > 1); });
    m_pages = new QLineEdit;
    m_pages->setObjectName(QStringLiteral("pages")); // a spin box holds a field, too
    m_pages->setPlaceholderText(QStringLiteral("wszystkie, albo na przykład: 1-3, 7, 12-"));
    m_hint = wrappedLabel({}, morvik::smallFont(), Theme::textMuted);
    connect(m_pages, &QLineEdit::returnPressed, this, &PrintView::print);

    auto* form = new QWidget;
    auto* grid = new QGridLayout(form);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(12);
    grid->setVerticalSpacing(10);
    grid->setColumnMinimumWidth(0, labelWidth);
    grid->setColumnStretch(2, 1);
    const auto addLabel = [&](int row, const QString& title, QWidget* field) {
        QLabel* label = plainLabel(title, morvik::textFont(), Theme::textMuted);
        label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        label->setBuddy(field);
        field->setAccessibleName(title.chopped(1));
        grid->addWidget(label, row, 0);
    };
    addLabel(0, QStringLiteral("Drukarka:"), m_printer);
    addLabel(1, QStringLiteral("Kopie:"), m_copies);
    addLabel(2, QStringLiteral("Strony:"), m_pages);
    grid->addWidget(m_printer, 0, 1, 1, 2);
    grid->addWidget(m_copies, 1, 1);
    grid->addWidget(m_collated, 1, 2);
    grid->addWidget(m_pages, 2, 1, 1, 2);
    grid->addWidget(m_hint, 3, 1, 1, 2);
    return form;
}

QWidget* PrintView::makeWaiting() {
    m_status = wrappedLabel({}, morvik::textFont(), Tones::label);
    m_spinner = new morvik::Spinner(spinnerSize, Theme::textMuted);
    m_done =
        new morvik::IconLabel(QStringLiteral("checkmark.circle.fill"), spinnerSize, Theme::success);
    m_progress = new ProgressLine;
    auto* waiting = new QWidget;
    auto* grid = new QGridLayout(waiting);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(10);
    grid->addWidget(m_spinner, 0, 0);
    grid->addWidget(m_done, 0, 0);
    grid->addWidget(m_status, 0, 1);
    grid->addWidget(m_progress, 1, 0, 1, 2);
    grid->setColumnStretch(1, 1);
    return waiting;
}

QWidget* PrintView::defaultButton() const {
    return m_cancel;
}

void PrintView::enter(State state, const QString& status) {
    m_state = state;
    m_form->setVisible(state == State::choosing);
    m_waiting->setVisible(state != State::choosing);
    m_spinner->setVisible(state != State::sent);
    m_done->setVisible(state == State::sent);
    m_progress->setVisible(state == State::printing);
    m_progress->setShare(0);
    m_status->setText(status);
    m_cancel->setVisible(state != State::sent);
    m_cancel->setEnabled(true);
    m_print->setVisible(state == State::choosing);
    m_close->setVisible(state == State::sent);
    if (state == State::choosing)
        m_print->setFocus(Qt::OtherFocusReason);
    else
        (state == State::sent ? m_close : m_cancel)->setFocus(Qt::OtherFocusReason);
    QAccessibleEvent alert(m_status, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void PrintView::lookUp() {
    const auto look = [this, document = m_document, stop = m_stop.get_token()] {
        return m_work->lookUp(document, stop);
    };
    deliver(QtConcurrent::run(&m_thread, look), this,
            [this](const PrintSetup& setup) { offer(setup); });
}

void PrintView::offer(const PrintSetup& setup) {
    if (!setup.error.isEmpty())
        Q_EMIT failed(setup.error);
    if (!setup.error.isEmpty() || m_stop.stop_requested()) {
        Q_EMIT closeRequested();
        return;
    }
    m_printer->addItems(setup.printers);
    m_printer->setCurrentText(setup.preferredPrinter);
    m_pageCount = setup.pages;
    showHint();
    enter(State::choosing, {});
}

void PrintView::showHint() {
    morvik::setInvalid(m_pages, false);
    m_hint->setText(m_pageCount > 0
                        ? QStringLiteral("Puste pole: wszystkie (%1).").arg(pageWord(m_pageCount))
                        : QStringLiteral("Puste pole: wszystkie."));
    morvik::setInk(m_hint, Theme::textMuted);
}

void PrintView::refusePages(const QString& message) {
    morvik::setInvalid(m_pages, true);
    m_hint->setText(message);
    morvik::setInk(m_hint, morvik::MorvikTheme::Colors::error);
    m_pages->setFocus(Qt::OtherFocusReason);
    QAccessibleEvent alert(m_hint, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void PrintView::print() {
    const auto ranges = pageRanges(m_pages->text());
    if (!ranges) {
        refusePages(QStringLiteral("Podaj strony tak jak tutaj: 1-3, 7, 12-"));
        return;
    }
    const QString refusal = m_pageCount > 0 ? pageRangesRefusal(*ranges, m_pageCount) : QString();
    if (!refusal.isEmpty()) {
        refusePages(refusal);
        return;
    }
    showHint();
    const PrintOrder order{m_document, m_printer->currentText(), m_copies->value(),
                           m_collated->isChecked(), *ranges};
    enter(State::printing, QStringLiteral("Przygotowywanie stron…"));
    // This object outlives the thread: see the destructor.
    const PrintProgress progress = [this](int ready, int needed) {
        QMetaObject::invokeMethod(this, [this, ready, needed] {
            if (m_state != State::printing || m_stop.stop_requested() || needed == 0)
                return;
            m_progress->setShare(static_cast<double>(ready) / needed);
            m_status->setText(
                ready < needed
                    ? QStringLiteral("Przygotowywanie stron: %1 z %2").arg(ready).arg(needed)
                    : QStringLiteral("Wysyłanie do drukarki…"));
        });
    };
    const auto work = [this, order, progress, stop = m_stop.get_token()] {
        return m_work->print(order, progress, stop);
    };
    deliver(
        QtConcurrent::run(&m_thread, work), this,
        [this, printer = order.printer](const PrintResult& result) { finish(result, printer); });
}

void PrintView::finish(const PrintResult& result, const QString& printer) {
    if (result.isStopped) {
        Q_EMIT closeRequested();
    } else if (!result.error.isEmpty()) {
        enter(State::choosing, {});
        Q_EMIT failed(result.error);
    } else {
        enter(State::sent,
              QStringLiteral("Wysłano do drukarki „%1”: %2.").arg(printer, pageWord(result.pages)));
    }
}

void PrintView::cancel() {
    if (m_state == State::choosing) {
        Q_EMIT closeRequested();
        return;
    }
    m_stop.request_stop();
    m_cancel->setEnabled(false);
    m_status->setText(QStringLiteral("Przerywanie…"));
}

/// The sheet must not close before what runs has ended.
void PrintView::keyPressEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Escape)
        event->ignore();
    else if (m_state == State::sent)
        Q_EMIT closeRequested();
    else
        cancel();
}

} // namespace kopertal
