#include "ui/FileListView.h"

#include "ui/FocusRing.h"
#include "ui/Fonts.h"
#include "ui/IconLabel.h"
#include "ui/Labels.h"
#include "ui/Layouts.h"
#include "ui/MorvikTheme.h"
#include "ui/PlainToolTip.h"
#include "ui/SmallButtons.h"
#include "ui/Tones.h"

#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

namespace morvik {
namespace {

constexpr int rowPadding = 6;
constexpr int sidePadding = 12;
constexpr int numberWidth = 28;
constexpr int dividerIndent = 48;

/// A title without a frame.
class BorderlessButton : public KitButton {
public:
    explicit BorderlessButton(const QString& title) : KitButton(title, {}, nullptr) {
        setFont(textFont());
    }

    QSize sizeHint() const override {
        return {fontMetrics().horizontalAdvance(text()) + 8, fontMetrics().height() + 6};
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setPen(isPointed() || hasFocus() ? Tones::label : Tones::secondaryLabel);
        painter.drawText(rect(), Qt::AlignCenter, text());
    }
};

} // namespace

FileListView::FileListView(bool allowReorder, QWidget* parent)
    : BorderFrame(parent),
      m_allowReorder(allowReorder),
      m_empty(plainLabel(MorvikTheme::Labels::noFiles, textFont(), Tones::secondaryLabel)),
      m_list(new QWidget),
      m_title(plainLabel({}, paneTitleFont(), Tones::label)) {
    m_empty->setAlignment(Qt::AlignCenter);
    m_empty->setMargin(sidePadding * 2);
    auto* clear = new BorderlessButton(MorvikTheme::Labels::clear);
    connect(clear, &KitButton::clicked, this, [this] { setFiles({}); });
    auto* header = new QHBoxLayout;
    header->setContentsMargins(sidePadding, rowPadding, sidePadding, rowPadding);
    header->addWidget(m_title);
    header->addStretch();
    header->addWidget(clear);

    auto* scroll = new QScrollArea;
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->viewport()->setAutoFillBackground(false);
    auto* list = new QVBoxLayout(m_list);
    list->setContentsMargins(0, 0, 0, 0);
    list->setSpacing(0);
    list->addLayout(header);
    list->addWidget(makeDivider(Tones::border));
    list->addWidget(scroll, 1);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(2, 2, 2, 2);
    column->addWidget(m_empty);
    column->addWidget(m_list);
    rebuildRows();
}

void FileListView::setFiles(const QList<QUrl>& files) {
    if (files == m_files)
        return;
    const qsizetype row = focusedPlace().row;
    const qsizetype kept = row < 0 ? -1 : files.indexOf(m_files[row]);
    showFiles(files, kept < 0 ? row : kept);
}

void FileListView::showFiles(const QList<QUrl>& files, qsizetype focusedRow) {
    const Place before = focusedPlace();
    m_files = files;
    rebuildRows();
    if (before.row >= 0 && !m_files.isEmpty())
        focusRow(std::min(focusedRow, m_files.size() - 1), before);
    Q_EMIT filesChanged(m_files);
}

FileListView::Place FileListView::focusedPlace() const {
    for (qsizetype row = 0; row < m_buttons.size(); ++row) {
        for (qsizetype button = 0; button < m_buttons[row].size(); ++button) {
            if (m_buttons[row][button]->hasFocus())
                return {row, button, isFocusRingShown(m_buttons[row][button])};
        }
    }
    return {};
}

/// The same button as before, or the next one: the first row cannot go up, nor the last one down.
void FileListView::focusRow(qsizetype row, const Place& before) {
    qsizetype button = before.button;
    while (!m_buttons[row][button]->isEnabled()) // the last one always is
        ++button;
    m_buttons[row][button]->setFocus(before.hasRing ? Qt::OtherFocusReason : Qt::MouseFocusReason);
    m_list->findChild<QScrollArea*>()->ensureWidgetVisible(m_buttons[row][button], 0, rowPadding);
}

QString FileListView::iconOf(const QUrl& file) {
    const QString extension = QFileInfo(file.fileName()).suffix().toLower();
    if (extension == QStringLiteral("pdf"))
        return QStringLiteral("doc.fill");
    if (extension == QStringLiteral("docx") || extension == QStringLiteral("dotx"))
        return QStringLiteral("doc.richtext.fill");
    static const QStringList pictures{QStringLiteral("png"), QStringLiteral("jpg"),
                                      QStringLiteral("jpeg"), QStringLiteral("tiff")};
    return pictures.contains(extension) ? QStringLiteral("photo") : QStringLiteral("doc");
}

void FileListView::rebuildRows() {
    m_empty->setVisible(m_files.isEmpty());
    m_list->setVisible(!m_files.isEmpty());
    m_title->setText(QStringLiteral("%1 (%2)").arg(MorvikTheme::Labels::files).arg(m_files.size()));
    m_buttons.clear();
    auto* rows = new QWidget;
    auto* column = new QVBoxLayout(rows);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    for (qsizetype index = 0; index < m_files.size(); ++index) {
        column->addWidget(makeRow(index));
        if (index + 1 < m_files.size())
            column->addWidget(makeDivider(Tones::border, dividerIndent));
    }
    column->addStretch();
    auto* scroll = m_list->findChild<QScrollArea*>();
    const int scrolled = scroll->verticalScrollBar()->value();
    if (m_rows) // the row whose button was pressed is still in use
        scroll->takeWidget()->deleteLater();
    m_rows = rows;
    scroll->setWidget(rows);
    rows->setAutoFillBackground(false); // the frame's white and round corners show through
    scroll->setMinimumHeight(
        std::min(rows->sizeHint().height(), MorvikTheme::Layout::fileListHeight));
    scroll->verticalScrollBar()->setValue(scrolled);
}

QWidget* FileListView::makeRow(qsizetype index) {
    auto* row = new QWidget;
    auto* line = new QHBoxLayout(row);
    line->setContentsMargins(sidePadding, rowPadding, sidePadding, rowPadding);
    auto* number =
        plainLabel(QStringLiteral("%1.").arg(index + 1), textFont(), Tones::secondaryLabel);
    number->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    number->setMinimumWidth(numberWidth);
    line->addWidget(number);
    line->addWidget(new IconLabel(iconOf(m_files[index]), 16, Tones::secondaryLabel));
    const QString fileName = m_files[index].fileName();
    auto* name = plainLabel(fileName, textFont(), Tones::label);
    name->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    name->setToolTip(plainToolTip(fileName));
    line->addWidget(name, 1);

    QList<IconButton*> buttons;
    const auto addButton = [&](const QString& icon, const QString& what, const QColor& color,
                               bool isEnabled, auto action) {
        auto* button = new IconButton(icon, QStringLiteral("%1: %2").arg(what, fileName), color);
        button->setToolTip(what);
        button->setEnabled(isEnabled);
        connect(button, &IconButton::clicked, this, action);
        line->addWidget(button);
        buttons << button;
    };
    if (m_allowReorder) {
        addButton(QStringLiteral("chevron.up"), QStringLiteral("Przesuń w górę"), Tones::mutedLabel,
                  index > 0, [this, index] { moveRow(index, index - 1); });
        addButton(QStringLiteral("chevron.down"), QStringLiteral("Przesuń w dół"),
                  Tones::mutedLabel, index + 1 < m_files.size(),
                  [this, index] { moveRow(index, index + 1); });
    }
    addButton(QStringLiteral("xmark.circle.fill"), MorvikTheme::Labels::remove,
              Tones::faded(MorvikTheme::Colors::error, 0.7), true, [this, index] {
                  QList<QUrl> files = m_files;
                  files.removeAt(index);
                  showFiles(files, index);
              });
    m_buttons << buttons;
    return row;
}

void FileListView::moveRow(qsizetype from, qsizetype to) {
    QList<QUrl> files = m_files;
    files.move(from, to);
    showFiles(files, to);
}

} // namespace morvik
