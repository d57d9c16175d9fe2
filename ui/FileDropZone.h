#pragma once

#include <QFrame>
#include <QList>
#include <QSet>
#include <QUrl>

#include <functional>

class QLabel;

namespace morvik {

class IconLabel;

/// A place for dropping files, with a button that chooses them. `onDrop` gets the files whose
/// extension is among `allowedExtensions` (lower case, without dot; none means any); several
/// dropped files are passed on even where the button chooses one.
class FileDropZone : public QFrame {
    Q_OBJECT

public:
    FileDropZone(QSet<QString> allowedExtensions, bool allowsMultipleSelection,
                 std::function<void(const QList<QUrl>&)> onDrop, QWidget* parent = nullptr);

    bool isTargeted() const { return m_isTargeted; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void setTargeted(bool isTargeted);
    void chooseFiles();

    QSet<QString> m_allowedExtensions;
    bool m_allowsMultipleSelection;
    std::function<void(const QList<QUrl>&)> m_onDrop;
    IconLabel* m_picture;
    QLabel* m_invitation;
    bool m_isTargeted = false;
};

} // namespace morvik
