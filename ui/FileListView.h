#pragma once

#include "ui/BorderFrame.h"

#include <QList>
#include <QUrl>

class QLabel;
class QVBoxLayout;

namespace morvik {

class IconButton;

/// A list of chosen files that the user shortens and, where `allowReorder`, puts in order. A row's
/// button that has the keyboard keeps it when the row moves; a removed row leaves it to the one
/// that takes its place, the last row to the one before it, the only row to the next control.
class FileListView : public BorderFrame {
    Q_OBJECT

public:
    explicit FileListView(bool allowReorder, QWidget* parent = nullptr);

    const QList<QUrl>& files() const { return m_files; }
    void setFiles(const QList<QUrl>& files);

    /// The picture that a file's extension gets.
    static QString iconOf(const QUrl& file);

Q_SIGNALS:
    /// After every change, the user's and the caller's.
    void filesChanged(const QList<QUrl>& files);

private:
    /// Where the keyboard is; the row is negative when it is on no row.
    struct Place {
        qsizetype row = -1;
        qsizetype button = 0;
        bool hasRing = false;
    };

    void showFiles(const QList<QUrl>& files, qsizetype focusedRow);
    Place focusedPlace() const;
    void focusRow(qsizetype row, const Place& before);
    void rebuildRows();
    QWidget* makeRow(qsizetype index);
    void moveRow(qsizetype from, qsizetype to);

    bool m_allowReorder;
    QList<QUrl> m_files;
    QLabel* m_empty;
    QWidget* m_list;
    QLabel* m_title;
    QWidget* m_rows = nullptr;
    QList<QList<IconButton*>> m_buttons; // of each row, from the left
};

} // namespace morvik
