#pragma once

#include <QDialog>

namespace morvik {

struct MorvikAboutCommand;

/// The window with the program's icon, name, version and web site. It goes when it is closed.
class AboutPanel : public QDialog {
    Q_OBJECT

public:
    explicit AboutPanel(const MorvikAboutCommand& about, QWidget* parent = nullptr);

    /// Shows it, or brings it to the front.
    void present();
};

} // namespace morvik
