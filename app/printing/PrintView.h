#pragma once

#include "app/printing/PrintWork.h"

#include <QThreadPool>
#include <QWidget>

#include <memory>

class QCheckBox;
class QLabel;
class QLineEdit;

namespace morvik {
class LimeActionButton;
class Spinner;
} // namespace morvik

namespace kopertal {

class ChoiceField;
class NumberField;
class ProgressLine;

/// The content of the sheet that prints a register: looks for printers, asks which of them, how
/// often and which pages, and shows how far the pages are. Ends what it has started when it goes.
class PrintView : public QWidget {
    Q_OBJECT

public:
    PrintView(const QString& document, std::unique_ptr<PrintWork> work, QWidget* parent = nullptr);
    ~PrintView() override;

    /// What gets the keyboard first.
    QWidget* defaultButton() const;

Q_SIGNALS:
    /// Nothing runs any more.
    void closeRequested();
    /// Nothing was printed, for this reason.
    void failed(const QString& message);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    enum class State { lookingUp, choosing, printing, sent };

    QWidget* makeForm();
    QWidget* makeWaiting();
    void enter(State state, const QString& status);
    void lookUp();
    void offer(const PrintSetup& setup);
    void showHint();
    void print();
    void refusePages(const QString& message);
    void finish(const PrintResult& result, const QString& printer);
    void cancel();

    QString m_document;
    std::unique_ptr<PrintWork> m_work;
    QThreadPool m_thread;
    std::stop_source m_stop;
    State m_state = State::lookingUp;
    int m_pageCount = 0; // 0: not known

    QWidget* m_form;
    ChoiceField* m_printer;
    NumberField* m_copies;
    QCheckBox* m_collated;
    QLineEdit* m_pages;
    QLabel* m_hint;
    QWidget* m_waiting;
    QLabel* m_status;
    morvik::Spinner* m_spinner;
    QWidget* m_done;
    ProgressLine* m_progress;
    morvik::LimeActionButton* m_cancel;
    morvik::LimeActionButton* m_print;
    morvik::LimeActionButton* m_close;
};

} // namespace kopertal
