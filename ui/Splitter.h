#pragma once

#include <QSplitter>

namespace morvik {

/// Panes side by side with a one pixel line between them that is grabbed over eight.
class Splitter : public QSplitter {
    Q_OBJECT

public:
    explicit Splitter(QWidget* parent = nullptr);

protected:
    QSplitterHandle* createHandle() override;
};

} // namespace morvik
