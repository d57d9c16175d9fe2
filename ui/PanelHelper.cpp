#include "ui/PanelHelper.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QLocale>
#include <QScreen>
#include <QTreeView>

#include <algorithm>

namespace morvik::PanelHelper {
namespace {

constexpr int cellPadding = 8;
constexpr int sideList = 200; // with what is around both lists
constexpr int panelHeight = 480;

/// For a file manager that has to be started first.
constexpr int fileManagerTimeout = 15'000; // milliseconds

bool canBeExtension(const QString& text) {
    return !text.isEmpty() && std::none_of(text.begin(), text.end(), [](QChar c) {
        return c.isSpace() || QStringLiteral("/*?[](){};\\").contains(c);
    });
}

/// The toolkit's own panel cuts its columns and their titles; the desktop's has no list of ours.
void giveColumnsRoom(QFileDialog& panel) {
    const auto* list = panel.findChild<QTreeView*>(QStringLiteral("treeView"));
    if (!list)
        return;
    const QLocale locale = QLocale::system(); // as the panel does, whatever the program's is
    const QDateTime longDate(QDate(2028, 12, 28), QTime(20, 58, 58));
    const QString longest[] = {QString(30, u'm'), locale.formattedDataSize(1'047'000),
                               QStringLiteral("Dokument programu Word"),
                               locale.toString(longDate, QLocale::ShortFormat)};
    QHeaderView* header = list->header();
    for (int column = 0; column < std::min<int>(header->count(), std::size(longest)); ++column) {
        const int text = list->fontMetrics().horizontalAdvance(longest[column]) + 2 * cellPadding;
        header->resizeSection(
            column, std::max({text, header->sectionSizeHint(column), header->sectionSize(column)}));
    }
    panel.resize(panel.sizeHint()
                     .expandedTo({header->length() + sideList, panelHeight})
                     .boundedTo(panel.screen()->availableSize()));
}

std::optional<QList<QUrl>> runFilePanel(const QSet<QString>& extensions,
                                        QFileDialog::FileMode mode) {
    QFileDialog panel(QApplication::activeWindow());
    panel.setFileMode(mode);
    const QStringList patterns = namePatterns(extensions);
    if (!patterns.isEmpty())
        panel.setNameFilter(QStringLiteral("Pliki (%1)").arg(patterns.join(u' ')));
    giveColumnsRoom(panel);
    if (panel.exec() != QDialog::Accepted)
        return std::nullopt;
    return panel.selectedUrls();
}

void openFolderOf(const QUrl& file) {
    const QString folder = QFileInfo(file.toLocalFile()).path();
    if (QFileInfo(folder).isDir())
        QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
}

} // namespace

QStringList namePatterns(const QSet<QString>& extensions) {
    QStringList patterns;
    for (const QString& extension : extensions) {
        if (!canBeExtension(extension))
            continue;
        patterns << QStringLiteral("*.") + extension.toLower()
                 << QStringLiteral("*.") + extension.toUpper();
    }
    patterns.sort();
    patterns.removeDuplicates();
    return patterns;
}

void chooseFiles(const QSet<QString>& extensions,
                 const std::function<void(const QList<QUrl>&)>& completion) {
    if (const auto chosen = runFilePanel(extensions, QFileDialog::ExistingFiles))
        completion(*chosen);
}

void chooseSingleFile(const QSet<QString>& extensions,
                      const std::function<void(const QUrl&)>& completion) {
    const auto chosen = runFilePanel(extensions, QFileDialog::ExistingFile);
    if (chosen && !chosen->isEmpty())
        completion(chosen->front());
}

std::optional<QUrl> chooseDirectory() {
    QFileDialog panel(QApplication::activeWindow());
    panel.setFileMode(QFileDialog::Directory);
    panel.setOption(QFileDialog::ShowDirsOnly);
    panel.setWindowTitle(QStringLiteral("Wybierz folder"));
    panel.setLabelText(QFileDialog::Accept, QStringLiteral("Wybierz"));
    giveColumnsRoom(panel);
    if (panel.exec() != QDialog::Accepted || panel.selectedUrls().isEmpty())
        return std::nullopt;
    return panel.selectedUrls().front();
}

void revealInFinder(const QList<QUrl>& files) {
    if (files.isEmpty() || !files.front().isLocalFile())
        return;
    const QUrl file =
        QUrl::fromLocalFile(QFileInfo(files.front().toLocalFile()).absoluteFilePath());
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !QFileInfo::exists(file.toLocalFile())) {
        openFolderOf(file);
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    const QString noStartupId;
    call << QStringList{QString::fromLatin1(file.toEncoded())} << noStartupId;
    auto* const watcher =
        new QDBusPendingCallWatcher(bus.asyncCall(call, fileManagerTimeout), qApp);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, file] {
        if (watcher->isError())
            openFolderOf(file);
        watcher->deleteLater();
    });
}

} // namespace morvik::PanelHelper
