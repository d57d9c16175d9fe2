#pragma once

#include "app/addresses/LiveRecipients.h"

#include <QUrl>
#include <QWidget>

#include <optional>
#include <stop_token>

class QLabel;

namespace morvik {
class LimeActionButton;
class TableView;
} // namespace morvik

namespace kopertal {

class AddressTextEditor;
class AppSettings;
class RecipientModel;
class WarningsBox;
struct GenerationResult;

/// The tab of the addresses: the editor with its warnings and the button that makes the register,
/// and the preview of the recipients.
class AddressView : public QWidget {
    Q_OBJECT

public:
    /// `settings` outlives the view.
    explicit AddressView(AppSettings& settings, QWidget* parent = nullptr);
    ~AddressView() override;

    AddressTextEditor& editor() { return *m_editor; }
    bool isGenerating() const { return m_isGenerating; }

    /// Stops a running generation, which then leaves nothing behind and reports nothing.
    std::stop_source generationStop() const { return m_stop; }

public Q_SLOTS:
    /// Makes the register from the recipients and settings of this moment, in the background. Does
    /// nothing without recipients, without a save folder, or while one is being made.
    void generateDocument();
    void clear();
    /// Asks for a file of addresses and loads it.
    void chooseFile();
    /// Puts the text of the file in place of what is there; a file that cannot be read is ignored,
    /// one that is too much for the editor refused in words.
    void loadFile(const QString& path);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    QWidget* makeEditorPane();
    QWidget* makePreviewPane();
    /// Whether one of the dropped items is a file; the first is loaded.
    bool handleDrop(const QList<QUrl>& urls);
    void showEdit(const LiveRecipients::Change& change);
    void updateButton();
    void finishGeneration(const GenerationResult& result);
    void presentSuccess();
    void presentPrinting(const QString& document);

    AppSettings& m_settings;
    AddressTextEditor* m_editor;
    WarningsBox* m_warnings;
    morvik::LimeActionButton* m_generate;
    RecipientModel* m_model;
    QLabel* m_count;
    QLabel* m_loading;
    QWidget* m_empty;
    morvik::TableView* m_table;

    std::stop_source m_stop;
    bool m_isGenerating = false;
    bool m_isLoading = false;
    int m_loads = 0; // numbers the loaded files: only the last one asked for is taken
    std::optional<QString> m_lastDocURL;
    qsizetype m_generatedCount = 0;
    qsizetype m_generatedPages = 0;
};

} // namespace kopertal
