#include "app/addresses/WarningsBox.h"

#include "app/common/Theme.h"
#include "ui/AccessibleRole.h"
#include "ui/BorderFrame.h"
#include "ui/FocusRing.h"
#include "ui/Fonts.h"
#include "ui/IconLabel.h"
#include "ui/Labels.h"
#include "ui/PlainToolTip.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListView>
#include <QPainter>
#include <QStringListModel>
#include <QStyledItemDelegate>

#include <algorithm>

namespace kopertal {
namespace {

constexpr int padding = 10;
constexpr int iconGap = 8;
constexpr int lineGap = 2;
constexpr int mostLines = 6; // seen at once; the others scroll
constexpr double radius = 6;

/// The tooltip of an entry holds what a narrow pane cuts off.
class WarningModel : public QStringListModel {
public:
    using QStringListModel::QStringListModel;

    QVariant data(const QModelIndex& index, int role) const override {
        if (role != Qt::ToolTipRole)
            return QStringListModel::data(index, role);
        return morvik::plainToolTip(QStringListModel::data(index, Qt::DisplayRole).toString());
    }
};

/// "• ENTRY", flush with the heading.
class WarningDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override {
        return {0, option.fontMetrics.height() + lineGap};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        const QString line = QStringLiteral("• ") + index.data().toString();
        painter->setFont(option.font);
        painter->setPen(Theme::warningText);
        painter->drawText(option.rect, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                          option.fontMetrics.elidedText(line, Qt::ElideRight, option.rect.width()));
    }
};

} // namespace

WarningsBox::WarningsBox(QWidget* parent)
    : QFrame(parent), m_model(new WarningModel(this)), m_list(new QListView) {
    morvik::setAccessibleRole(this, QAccessible::Grouping);
    QPalette ink = palette();
    ink.setColor(QPalette::Base, Qt::transparent);
    auto* heading = morvik::wrappedLabel(QStringLiteral("Pominięte wpisy (za mało linii):"),
                                         morvik::uiFont(12, QFont::DemiBold), Theme::warningText);

    m_list->setModel(m_model);
    m_list->setItemDelegate(new WarningDelegate(this));
    m_list->setPalette(ink);
    m_list->setFont(morvik::smallFont());
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->viewport()->setAutoFillBackground(false);
    m_list->setUniformItemSizes(true);
    m_list->setSelectionMode(QAbstractItemView::NoSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->setAccessibleName(heading->text());
    morvik::addFocusRing(m_list, morvik::navyRing(3, 0));

    auto* lines = new QVBoxLayout;
    lines->setSpacing(lineGap);
    lines->addWidget(heading);
    lines->addWidget(m_list);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(padding, padding, padding, padding);
    row->setSpacing(iconGap);
    row->addWidget(new morvik::IconLabel(QStringLiteral("exclamationmark.triangle.fill"), 16,
                                         Theme::warningBorder),
                   0, Qt::AlignTop);
    row->addLayout(lines, 1);
    hide();
}

void WarningsBox::setWarnings(const QStringList& lines) {
    m_model->setStringList(lines);
    setVisible(!lines.isEmpty());
    if (lines.isEmpty())
        return;
    const int shown = static_cast<int>(std::min<qsizetype>(lines.size(), mostLines));
    m_list->setFixedHeight(m_list->sizeHintForRow(0) * shown);
    // A list of one screenful has nothing to scroll, and so no stop for the Tab key.
    m_list->setFocusPolicy(lines.size() > mostLines ? Qt::StrongFocus : Qt::NoFocus);
}

void WarningsBox::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    morvik::paintFrame(painter, rect(), radius, Theme::warningBorder, Theme::warningBg);
}

} // namespace kopertal
