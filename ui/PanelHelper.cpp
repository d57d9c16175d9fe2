#include "ui/PanelHelper.h"

#include <QApplication>
#include <QFileDialog>

#include <algorithm>

namespace morvik::PanelHelper {
namespace {

bool canBeExtension(const QString& text) {
    return !text.isEmpty() && std::none_of(text.begin(), text.end(), [](QChar c) {
        return c.isSpace() || QStringLiteral("/*?[](){};\\").contains(c);
    });
}

std::optional<QList<QUrl>> runFilePanel(const QSet<QString>& extensions,
                                        QFileDialog::FileMode mode) {
    QFileDialog panel(QApplication::activeWindow());
    panel.setFileMode(mode);
    const QStringList patterns = namePatterns(extensions);
    if (!patterns.isEmpty())
        panel.setNameFilter(QStringLiteral("Pliki (%1)").arg(patterns.join(u' ')));
    if (panel.exec() != QDialog::Accepted)
        return std::nullopt;
    return panel.selectedUrls();
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
    panel.setLabelText(QFileDialog::Accept, QStringLiteral("Wybierz"));
    if (panel.exec() != QDialog::Accepted || panel.selectedUrls().isEmpty())
        return std::nullopt;
    return panel.selectedUrls().front();
}

} // namespace morvik::PanelHelper
