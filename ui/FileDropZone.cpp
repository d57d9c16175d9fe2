#include "ui/FileDropZone.h"

#include "ui/BorderFrame.h"
#include "ui/Fonts.h"
#include "ui/IconLabel.h"
#include "ui/Labels.h"
#include "ui/MorvikTheme.h"
#include "ui/PanelHelper.h"
#include "ui/SmallButtons.h"
#include "ui/Tones.h"

#include <QDragEnterEvent>
#include <QFileInfo>
#include <QLabel>
#include <QMimeData>
#include <QPainter>
#include <QPointer>
#include <QVBoxLayout>

#include <algorithm>

namespace morvik {
namespace {

constexpr int spacing = 12;
constexpr int padding = 16;
constexpr int pictureSize = 36;
constexpr double radius = 10;
constexpr double borderWidth = 1.5;

bool carriesFiles(const QMimeData* data) {
    const QList<QUrl> urls = data->urls();
    return std::any_of(urls.begin(), urls.end(), [](const QUrl& url) { return url.isLocalFile(); });
}

} // namespace

FileDropZone::FileDropZone(QSet<QString> allowedExtensions, bool allowsMultipleSelection,
                           std::function<void(const QList<QUrl>&)> onDrop, QWidget* parent)
    : QFrame(parent),
      m_allowedExtensions(std::move(allowedExtensions)),
      m_allowsMultipleSelection(allowsMultipleSelection),
      m_onDrop(std::move(onDrop)),
      m_picture(new IconLabel(QStringLiteral("arrow.down.doc"), pictureSize, {})),
      m_invitation(wrappedLabel(allowsMultipleSelection ? MorvikTheme::Labels::dropOrSelect
                                                        : MorvikTheme::Labels::dropOrSelectSingle,
                                headlineFont(), Tones::secondaryLabel)) {
    setAcceptDrops(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Minimum);
    setMinimumHeight(MorvikTheme::Layout::dropZoneMinHeight);
    m_invitation->setAlignment(Qt::AlignCenter);
    auto* choose = new LimeSmallButton(allowsMultipleSelection ? MorvikTheme::Labels::selectFiles
                                                               : MorvikTheme::Labels::selectFile);
    choose->setMeasures(13, 20, 6);
    connect(choose, &LimeSmallButton::clicked, this, &FileDropZone::chooseFiles);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(spacing);
    column->addStretch();
    column->addWidget(m_picture, 0, Qt::AlignHCenter);
    column->addWidget(m_invitation);
    column->addWidget(choose, 0, Qt::AlignHCenter);
    column->addStretch();
    setTargeted(false);
}

void FileDropZone::setTargeted(bool isTargeted) {
    m_isTargeted = isTargeted;
    m_picture->setColor(isTargeted ? MorvikTheme::Colors::lime : Tones::secondaryLabel);
    setInk(m_invitation, isTargeted ? Tones::label : Tones::secondaryLabel);
    update();
}

void FileDropZone::chooseFiles() {
    const QPointer<FileDropZone> self(this); // the panel's loop may outlive the zone
    const auto handOver = [self](const QList<QUrl>& files) {
        if (self && self->m_onDrop)
            self->m_onDrop(files);
    };
    if (m_allowsMultipleSelection)
        PanelHelper::chooseFiles(m_allowedExtensions, handOver);
    else
        PanelHelper::chooseSingleFile(m_allowedExtensions,
                                      [&](const QUrl& file) { handOver({file}); });
}

void FileDropZone::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QColor border =
        m_isTargeted ? MorvikTheme::Colors::lime : MorvikTheme::Colors::sectionBorder;
    paintFrame(painter, rect(), radius, QPen(border, borderWidth),
               m_isTargeted ? MorvikTheme::Colors::dropZoneActive : MorvikTheme::Colors::dropZone);
}

void FileDropZone::dragEnterEvent(QDragEnterEvent* event) {
    if (!carriesFiles(event->mimeData()))
        return;
    event->acceptProposedAction();
    setTargeted(true);
}

void FileDropZone::dragLeaveEvent(QDragLeaveEvent*) {
    setTargeted(false);
}

void FileDropZone::dropEvent(QDropEvent* event) {
    setTargeted(false);
    event->acceptProposedAction();
    QList<QUrl> files;
    for (const QUrl& url : event->mimeData()->urls()) {
        const QString extension = QFileInfo(url.fileName()).suffix().toLower();
        if (url.isLocalFile() &&
            (m_allowedExtensions.isEmpty() || m_allowedExtensions.contains(extension)))
            files << url;
    }
    if (!files.isEmpty() && m_onDrop)
        m_onDrop(files);
}

} // namespace morvik
