// Shows every control of the kit in every state; with a file name it saves the picture and ends.
#include "ui/FileDropZone.h"
#include "ui/FileListView.h"
#include "ui/Fonts.h"
#include "ui/IconLabel.h"
#include "ui/Labels.h"
#include "ui/LimeActionButton.h"
#include "ui/LimeBorderedButton.h"
#include "ui/MorvikFooter.h"
#include "ui/MorvikStyle.h"
#include "ui/MorvikTheme.h"
#include "ui/ResultBanner.h"
#include "ui/SectionCard.h"
#include "ui/SmallButtons.h"
#include "ui/TableView.h"
#include "ui/Tones.h"

#include <QApplication>
#include <QDir>
#include <QDragEnterEvent>
#include <QFocusEvent>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QStyleOption>
#include <QTimer>

using namespace morvik;

namespace {

QLabel* caption(const QString& text) {
    return plainLabel(text, uiFont(11), Tones::mutedLabel);
}

QVBoxLayout* captioned(QWidget* control, const QString& text) {
    auto* column = new QVBoxLayout;
    column->setSpacing(6);
    column->addWidget(control);
    column->addWidget(caption(text));
    return column;
}

/// A titled section whose controls are added as rows.
class Section {
public:
    Section(QVBoxLayout* page, const QString& title) : m_page(page) {
        auto* heading = new QLabel(title);
        heading->setFont(paneTitleFont());
        page->addSpacing(12);
        page->addWidget(heading);
        auto* line = new QFrame;
        line->setFixedHeight(1);
        line->setAutoFillBackground(true);
        line->setPalette(Tones::border);
        page->addWidget(line);
    }

    QHBoxLayout* row() {
        auto* row = new QHBoxLayout;
        row->setSpacing(16);
        m_page->addLayout(row);
        return row;
    }

private:
    QVBoxLayout* m_page;
};

/// States that only a user gives are given as the toolkit would.
void pretendHover(QWidget* widget) {
    widget->setAttribute(Qt::WA_UnderMouse);
}

/// Tab passes such a sample by, so that nothing takes its ring.
void pretendFocus(QWidget* widget) {
    widget->setFocusPolicy(Qt::NoFocus);
    widget->setAttribute(Qt::WA_TransparentForMouseEvents);
    QTimer::singleShot(0, widget, [widget] {
        QFocusEvent event(QEvent::FocusIn, Qt::TabFocusReason);
        QApplication::sendEvent(widget, &event);
    });
}

/// A control that is drawn with the keyboard's focus, whoever has it.
template <class Control, class Option>
class Focused : public Control {
public:
    using Control::Control;

protected:
    void initStyleOption(Option* option) const override {
        Control::initStyleOption(option);
        option->state |= QStyle::State_HasFocus;
    }
};

void addButtons(QVBoxLayout* page) {
    const auto addPicture = QStringLiteral("doc.badge.plus");
    Section actions(page, QStringLiteral("LimeActionButton"));
    const auto action = [&](QHBoxLayout* row, const QString& text) {
        auto* button = new LimeActionButton(QStringLiteral("Utwórz dokument"), addPicture);
        row->addLayout(captioned(button, text));
        return button;
    };
    auto* row = actions.row();
    action(row, QStringLiteral("zwykły"));
    pretendHover(action(row, QStringLiteral("pod kursorem")));
    pretendFocus(action(row, QStringLiteral("fokus")));
    row = actions.row();
    action(row, QStringLiteral("przetwarzanie"))->setProcessing(true);
    auto* both = action(row, QStringLiteral("przetwarzanie, wyłączony"));
    both->setProcessing(true);
    both->setEnabled(false);
    action(row, QStringLiteral("wyłączony"))->setEnabled(false);

    Section bordered(page, QStringLiteral("LimeBorderedButtonStyle"));
    row = bordered.row();
    const auto addOutlined = [&](LimeBorderedButton* button, const QString& text) {
        row->addLayout(captioned(button, text));
        return button;
    };
    const auto outlined = [&](const QString& title, const QString& icon, const QString& text) {
        return addOutlined(new LimeBorderedButton(title, icon), text);
    };
    const auto add = QStringLiteral("Dodaj");
    outlined(add, {}, QStringLiteral("zwykły"));
    pretendHover(outlined(add, {}, QStringLiteral("pod kursorem")));
    outlined(add, {}, QStringLiteral("wciśnięty"))->setDown(true);
    pretendFocus(addOutlined(new Focused<LimeBorderedButton, QStyleOptionButton>(add, QString()),
                             QStringLiteral("fokus")));
    outlined(add, {}, QStringLiteral("wyłączony"))->setEnabled(false);
    row->addStretch();
    row = bordered.row();
    outlined(QStringLiteral("Skanuj"), QStringLiteral("iphone"), QStringLiteral("z ikoną"));
    outlined(QStringLiteral("Skanuj"), QStringLiteral("iphone.radiowaves.left.and.right"),
             QStringLiteral("z inną ikoną"));
    auto* busy = outlined(QStringLiteral("Odśwież"), QStringLiteral("arrow.clockwise"),
                          QStringLiteral("z postępem"));
    busy->setBusy(true);
    busy->setEnabled(false);
    row->addStretch();

    Section small(page, QStringLiteral("LimeSmallButton"));
    row = small.row();
    const auto addSmall = [&](const QString& text) {
        auto* button = new LimeSmallButton(MorvikTheme::Labels::download);
        row->addLayout(captioned(button, text));
        return button;
    };
    addSmall(QStringLiteral("zwykły"));
    pretendHover(addSmall(QStringLiteral("pod kursorem")));
    pretendFocus(addSmall(QStringLiteral("fokus")));
    addSmall(QStringLiteral("wyłączony"))->setEnabled(false);
    row->addStretch();

    Section icons(page, QStringLiteral("IconButton i TabButton"));
    row = icons.row();
    const auto addIcon = [&](const QString& text) {
        auto* button = new IconButton(QStringLiteral("trash"), text, Tones::mutedLabel);
        row->addLayout(captioned(button, text));
        return button;
    };
    addIcon(QStringLiteral("zwykły"));
    pretendHover(addIcon(QStringLiteral("pod kursorem")));
    addIcon(QStringLiteral("wciśnięty"))->setDown(true);
    pretendFocus(addIcon(QStringLiteral("fokus")));
    addIcon(QStringLiteral("wyłączony"))->setEnabled(false);
    const auto addTab = [&](const QString& text) {
        auto* button = new TabButton(text);
        row->addWidget(button);
        return button;
    };
    addTab(QStringLiteral("Wybrana"))->setChecked(true);
    pretendHover(addTab(QStringLiteral("Pod kursorem")));
    pretendFocus(addTab(QStringLiteral("Fokus")));
    row->addStretch();
}

void addPanels(QVBoxLayout* page) {
    Section cards(page, QStringLiteral("SectionCard"));
    auto* row = cards.row();
    const auto text = [](const QString& words) {
        auto* label = new QLabel(words);
        label->setWordWrap(true);
        return label;
    };
    row->addLayout(
        captioned(new SectionCard(
                      MorvikTheme::Labels::preview,
                      text(QStringLiteral("Treść karty wyrównana do lewej, na pełną szerokość."))),
                  QStringLiteral("z tytułem")));
    row->addLayout(captioned(new SectionCard({}, text(QStringLiteral("Treść karty bez tytułu."))),
                             QStringLiteral("bez tytułu")));

    Section marks(page, QStringLiteral("MorvikFooter"));
    row = marks.row();
    row->addLayout(captioned(new MorvikFooter, QStringLiteral("zwykły")));
    auto* focused = new MorvikFooter;
    row->addLayout(captioned(focused, QStringLiteral("fokus")));
    pretendFocus(focused);
    row->addStretch();

    Section banners(page, QStringLiteral("ResultBanner"));
    banners.row()->addWidget(new ResultBanner(QStringLiteral("Zapisano dokument raport.docx."),
                                              ResultBanner::Style::success, {}));
    banners.row()->addWidget(
        new ResultBanner(QStringLiteral("Nie można zapisać pliku: brak miejsca na dysku."),
                         ResultBanner::Style::error, {}));

    Section zones(page, QStringLiteral("FileDropZone"));
    for (const bool multiple : {true, false}) {
        row = zones.row();
        row->addLayout(
            captioned(new FileDropZone({}, multiple, {}),
                      multiple ? QStringLiteral("wiele plików") : QStringLiteral("jeden plik")));
        auto* targeted = new FileDropZone({}, multiple, {});
        row->addLayout(captioned(targeted, QStringLiteral("przeciąganie nad polem")));
        QTimer::singleShot(0, targeted, [targeted] {
            QMimeData data;
            data.setUrls({QUrl::fromLocalFile(QDir::tempPath())});
            QDragEnterEvent event({}, Qt::CopyAction, &data, Qt::NoButton, Qt::NoModifier);
            QApplication::sendEvent(targeted, &event);
        });
    }
}

void addLists(QVBoxLayout* page) {
    Section lists(page, QStringLiteral("FileListView"));
    for (const bool reorder : {true, false}) {
        auto* list = new FileListView(reorder);
        QList<QUrl> files;
        for (const char* name : {"raport.docx", "umowa.pdf", "zdjecie.jpg", "notatki.txt"})
            files << QUrl::fromLocalFile(QStringLiteral("/tmp/") + QLatin1String(name));
        list->setFiles(files);
        lists.row()->addLayout(captioned(list, reorder ? QStringLiteral("z kolejnością")
                                                       : QStringLiteral("bez kolejności")));
    }
    lists.row()->addLayout(captioned(new FileListView(true), QStringLiteral("pusta")));

    Section fields(page, QStringLiteral("Pole tekstowe"));
    auto* row = fields.row();
    const auto addField = [&](QLineEdit* edit, const QString& what) {
        edit->setPlaceholderText(QStringLiteral("np. 12345678"));
        row->addLayout(captioned(edit, what));
        return edit;
    };
    const auto field = [&](const QString& text, const QString& what) {
        return addField(new QLineEdit(text), what);
    };
    field({}, QStringLiteral("puste"));
    pretendHover(field({}, QStringLiteral("pod kursorem")));
    row = fields.row();
    pretendFocus(
        addField(new Focused<QLineEdit, QStyleOptionFrame>(QStringLiteral("Pracownia Ceramiki")),
                 QStringLiteral("fokus")));
    setInvalid(field(QStringLiteral("/home/kasia/Dokumenty"), QStringLiteral("nieprawidłowe")),
               true);
    row = fields.row();
    field(QStringLiteral("Pracownia Ceramiki"), QStringLiteral("wypełnione"));
    field(QStringLiteral("Pracownia Ceramiki"), QStringLiteral("wyłączone"))->setEnabled(false);

    Section tables(page, QStringLiteral("TableView"));
    auto* model = new QStandardItemModel(4, 3, page);
    model->setHorizontalHeaderLabels(
        {QStringLiteral("Lp."), QStringLiteral("Numer"), QStringLiteral("Status")});
    const QColor success = MorvikTheme::Colors::success;
    for (int line = 0; line < 4; ++line) {
        model->setData(model->index(line, 0), line + 1);
        model->setData(model->index(line, 0), int(Qt::AlignRight | Qt::AlignVCenter),
                       Qt::TextAlignmentRole);
        model->setData(model->index(line, 1), QStringLiteral("0012345678%1").arg(line));
        model->setData(model->index(line, 1), monoFont(11), Qt::FontRole);
        model->setData(model->index(line, 2), QStringLiteral("Gotowe"));
        model->setData(model->index(line, 2), success, Qt::ForegroundRole);
    }
    auto* table = new TableView;
    table->setModel(model);
    table->setBordered(true);
    table->horizontalHeader()->setStretchLastSection(true);
    table->setColumnWidth(0, 36);
    table->setColumnWidth(1, 180);
    table->setFixedHeight(160);
    table->selectRow(2);
    tables.row()->addWidget(table);
}

/// In lines that a column of the icons has room for.
QString inLines(const QString& iconName) {
    constexpr qsizetype longestLine = 20;
    QString lines;
    qsizetype length = 0;
    for (const QString& word : iconName.split(u'.')) {
        if (!lines.isEmpty())
            lines += u'.';
        if (length + word.size() > longestLine) {
            lines += u'\n';
            length = 0;
        }
        lines += word;
        length += word.size() + 1;
    }
    return lines;
}

void addIconSet(QVBoxLayout* page) {
    Section icons(page, QStringLiteral("Ikony 16, 18, 32"));
    auto* grid = new QGridLayout;
    page->addLayout(grid);
    int place = 0;
    constexpr int columns = 5;
    for (const QString& file : QDir(QStringLiteral(":/morvik/icons")).entryList()) {
        const QString name = file.chopped(4);
        auto* row = new QHBoxLayout;
        for (const int size : {16, 18, 32})
            row->addWidget(new IconLabel(name, size, Tones::label));
        row->addStretch();
        auto* cell = new QVBoxLayout;
        cell->addLayout(row);
        cell->addWidget(caption(inLines(name)));
        cell->addStretch();
        grid->addLayout(cell, place / columns, place % columns);
        ++place;
    }
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    MorvikStyle::install(application);
    QWidget gallery;
    gallery.setWindowTitle(QStringLiteral("MorvikUI"));
    auto* columns = new QHBoxLayout(&gallery);
    columns->setContentsMargins(32, 24, 32, 24);
    columns->setSpacing(32);
    auto* left = new QVBoxLayout;
    auto* right = new QVBoxLayout;
    columns->addLayout(left, 1);
    columns->addLayout(right, 1);
    addButtons(left);
    addPanels(left);
    left->addStretch();
    addLists(right);
    addIconSet(right);
    right->addStretch();
    gallery.resize(gallery.sizeHint().expandedTo({1200, 0}));
    gallery.setFocusPolicy(Qt::ClickFocus);

    if (argc > 1) {
        gallery.setFocus(); // else the first sample had the keyboard
        gallery.show();
        QTimer::singleShot(300, &gallery, [&] {
            const bool isSaved = gallery.grab().save(QString::fromLocal8Bit(argv[1]));
            QApplication::exit(isSaved ? 0 : 1);
        });
        return QApplication::exec();
    }
    QScrollArea window;
    window.setWindowTitle(gallery.windowTitle());
    window.setWidget(&gallery);
    window.setWidgetResizable(true);
    window.resize(gallery.width() + 40, 900);
    gallery.setFocus();
    window.show();
    const int code = QApplication::exec();
    window.takeWidget(); // it lives on this stack
    return code;
}
