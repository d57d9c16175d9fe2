#include "app/help/HelpParts.h"

#include "app/common/Theme.h"
#include "ui/BorderFrame.h"
#include "ui/Fonts.h"
#include "ui/IconLabel.h"
#include "ui/Labels.h"
#include "ui/Tones.h"

#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace kopertal {

using morvik::plainLabel;
using morvik::wrappedLabel;

namespace {

namespace Tones = morvik::Tones;

constexpr int partGap = 8;
constexpr int topicIcon = 18;
constexpr int noteIcon = 14;
constexpr int rowGap = 6;
constexpr int notePadding = 8;
constexpr int noteRadius = 8;
constexpr double noteOpacity = 0.06;
constexpr int keysWidth = 40;

QVBoxLayout* makeColumn(QWidget* parent) {
    auto* column = new QVBoxLayout(parent);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(partGap);
    return column;
}

QHBoxLayout* makeRow(QWidget* parent, int gap) {
    auto* row = new QHBoxLayout(parent);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(gap);
    return row;
}

QWidget* makeTitle(const QString& icon, const QString& title) {
    auto* line = new QWidget;
    QHBoxLayout* row = makeRow(line, partGap);
    row->addWidget(new morvik::IconLabel(icon, topicIcon, Theme::textMain));
    row->addWidget(plainLabel(title, morvik::headlineFont(), Theme::textMain), 1);
    return line;
}

QWidget* makeOption(const QString& text) {
    auto* line = new QWidget;
    QHBoxLayout* row = makeRow(line, rowGap);
    row->addWidget(plainLabel(QStringLiteral("•"), morvik::smallFont(), Tones::secondaryLabel), 0,
                   Qt::AlignTop);
    row->addWidget(wrappedLabel(text, morvik::smallFont(), Theme::textMain), 1, Qt::AlignTop);
    return line;
}

class NoteBox : public QWidget {
public:
    explicit NoteBox(const QString& note) {
        QHBoxLayout* row = makeRow(this, rowGap);
        row->setContentsMargins(notePadding, notePadding, notePadding, notePadding);
        row->addWidget(
            new morvik::IconLabel(QStringLiteral("info.circle.fill"), noteIcon, Tones::info), 0,
            Qt::AlignTop);
        row->addWidget(wrappedLabel(note, morvik::smallFont(), Tones::secondaryLabel), 1,
                       Qt::AlignTop);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        morvik::paintFrame(painter, rect(), noteRadius, Qt::NoPen,
                           Tones::faded(Tones::info, noteOpacity));
    }
};

} // namespace

QWidget* helpSection(const QString& icon, const QString& title, const QString& description,
                     const QStringList& options, const std::optional<QString>& note) {
    auto* section = new QWidget;
    QVBoxLayout* column = makeColumn(section);
    column->addWidget(makeTitle(icon, title));
    column->addWidget(wrappedLabel(description, morvik::textFont(), Theme::textMain));
    for (const QString& option : options)
        column->addWidget(makeOption(option));
    if (note)
        column->addWidget(new NoteBox(*note));
    return section;
}

QWidget* helpTopic(const QString& icon, const QString& title, QWidget* content) {
    auto* topic = new QWidget;
    QVBoxLayout* column = makeColumn(topic);
    column->addWidget(makeTitle(icon, title));
    column->addWidget(content);
    return topic;
}

QWidget* shortcutRow(const QString& keys, const QString& description) {
    auto* line = new QWidget;
    QHBoxLayout* row = makeRow(line, partGap);
    auto* shown = plainLabel(keys, morvik::textFont(), Theme::textMain);
    shown->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    shown->setFixedWidth(morvik::textPixels(keysWidth));
    row->addWidget(shown);
    row->addWidget(plainLabel(QStringLiteral("—"), morvik::textFont(), Tones::secondaryLabel));
    row->addWidget(wrappedLabel(description, morvik::smallFont(), Theme::textMain), 1);
    return line;
}

} // namespace kopertal
