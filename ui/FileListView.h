#pragma once

#include "ui/BorderFrame.h"

#include <QList>
#include <QUrl>

class QLabel;
class QVBoxLayout;

namespace morvik {

/// A list of chosen files that the user shortens and, where `allowReorder`, puts in order.
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
    void rebuildRows();
    QWidget* makeRow(qsizetype index);
    void swapRows(qsizetype first, qsizetype second);

    bool m_allowReorder;
    QList<QUrl> m_files;
    QLabel* m_empty;
    QWidget* m_list;
    QLabel* m_title;
    QWidget* m_rows = nullptr;
};

} // namespace morvik
