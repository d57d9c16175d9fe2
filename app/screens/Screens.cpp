// Draws every screen of the window in its states into the folder that is named: kopertal_screens
// FOLDER.
#include "app/addresses/AddressTextEditor.h"
#include "app/addresses/AddressView.h"
#include "app/addresses/SuccessView.h"
#include "app/common/PlainAlert.h"
#include "app/common/WaitingThreads.h"
#include "app/help/HelpView.h"
#include "app/pairing/PairingChoiceView.h"
#include "app/pairing/PairingSetupView.h"
#include "app/printing/PrintView.h"
#include "app/scanning/IPhoneScanView.h"
#include "app/screens/TrackingScreens.h"
#include "app/sender/SenderSetupView.h"
#include "app/settings/AppSettings.h"
#include "app/shell/FrameCommands.h"
#include "app/shell/FrameTexts.h"
#include "app/shell/MainWindow.h"
#include "app/updates/UpdateView.h"
#include "app/updates/Updater.h"
#include "scan/PhotoRecognizer.h"
#include "ui/AboutPanel.h"
#include "ui/Icons.h"
#include "ui/LimeActionButton.h"
#include "ui/MorvikAboutCommand.h"
#include "ui/MorvikStyle.h"
#include "ui/MorvikTheme.h"
#include "ui/Sheet.h"

#include <QApplication>
#include <QFile>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QScrollBar>
#include <QSemaphore>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QThreadPool>

using namespace kopertal;

namespace {

class Screens {
public:
    explicit Screens(QString folder) : m_folder(std::move(folder)) {}

    bool save(QWidget& window, const QString& name) {
        window.show();
        window.activateWindow();
        QTest::qWait(300);
        return window.grab().save(m_folder + u'/' + name + QStringLiteral(".png"));
    }

private:
    QString m_folder;
};

QString sampleAddresses() {
    QFile file(QStringLiteral(KOPERTAL_SOURCE_DIR "/examples/adresaci.txt"));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

void openSuccess(MainWindow& window) {
    auto* view = new SuccessView(12, 2, QStringLiteral("/tmp/kopertal_20260312.docx"));
    auto* sheet = new morvik::Sheet(view, QStringLiteral("Kopertal wygenerowana"), &window);
    sheet->open(view->defaultButton());
}

/// Knows two printers, and gets no further than to the middle of a document; two copies are
/// printed, three fail.
class HalfPrinting : public PrintWork {
public:
    PrintSetup lookUp(const QString&, const std::stop_token&) override {
        PrintSetup setup;
        setup.printers = {QStringLiteral("Drukarka_w_biurze"), QStringLiteral("Magazyn")};
        setup.preferredPrinter = QStringLiteral("Drukarka_w_biurze");
        setup.pages = 23;
        return setup;
    }

    PrintResult print(const PrintOrder& order, const PrintProgress& progress,
                      const std::stop_token& stop) override {
        PrintResult result;
        result.pages = 23;
        progress(10, 23);
        while (order.copies == 1 && !stop.stop_requested())
            QThread::msleep(10);
        if (order.copies == 3)
            result.error = QStringLiteral("LibreOffice nie odpowiada.");
        return result;
    }
};

bool savePrinting(Screens& screens, MainWindow& window) {
    auto* view = new PrintView(QStringLiteral("/tmp/kopertal_20260312.docx"),
                               std::make_unique<HalfPrinting>());
    auto* sheet = new morvik::Sheet(view, QStringLiteral("Drukowanie"), &window);
    sheet->open(view->defaultButton());
    bool isSaved = screens.save(window, QStringLiteral("print"));
    auto* pages = view->findChild<QLineEdit*>(QStringLiteral("pages"));
    const auto enter = [&](const char* text) {
        pages->setText(QString::fromUtf8(text));
        QTest::keyClick(pages, Qt::Key_Return);
    };
    enter("20-24");
    isSaved &= screens.save(window, QStringLiteral("print-refused"));
    enter("");
    isSaved &= screens.save(window, QStringLiteral("print-progress"));
    sheet->dismiss();
    QTest::qWait(10);
    auto* again = new PrintView(QStringLiteral("/tmp/kopertal_20260312.docx"),
                                std::make_unique<HalfPrinting>());
    sheet = new morvik::Sheet(again, QStringLiteral("Drukowanie"), &window);
    sheet->open(again->defaultButton());
    QTest::qWait(200);
    auto* copies = again->findChild<QSpinBox*>();
    copies->setValue(3);
    pages = again->findChild<QLineEdit*>(QStringLiteral("pages"));
    enter("");
    isSaved &= screens.save(window, QStringLiteral("print-failed"));
    copies->setValue(2);
    enter("");
    isSaved &= screens.save(window, QStringLiteral("print-sent"));
    sheet->dismiss();
    QTest::qWait(10);
    return isSaved;
}

/// While it lives, nothing that is waited for comes.
class BusyThreads {
public:
    BusyThreads() {
        for (int thread = 0; thread < waitingThreads().maxThreadCount(); ++thread)
            waitingThreads().start([this] { m_end.acquire(); });
    }
    ~BusyThreads() {
        m_end.release(waitingThreads().maxThreadCount());
        waitingThreads().waitForDone();
    }

private:
    QSemaphore m_end;
};

/// The phone's sheets, each in its states.
class PhoneSheets {
public:
    PhoneSheets(Screens& screens, MainWindow& window) : m_screens(screens), m_window(window) {}

    bool save() {
        using namespace std::chrono_literals;
        const QString page = QStringLiteral("https://kopertal.example/zq/");
        PhotoRecognizer recognizer({});
        bool isSaved = save(new PairingChoiceView, QStringLiteral("pairing-choice"), 0s);
        {
            const BusyThreads busy;
            isSaved &=
                save(new PairingSetupView(page), QStringLiteral("pairing-setup-starting"), 0s);
            isSaved &=
                save(new IPhoneScanView(recognizer, false), QStringLiteral("scan-qr-starting"), 0s);
        }
        isSaved &= save(new PairingSetupView(page), QStringLiteral("pairing-setup"), 3s);
        isSaved &= save(new PairingSetupView(page + QString(60, u'x')),
                        QStringLiteral("pairing-setup-long-address"), 3s);
        isSaved &= save(new IPhoneScanView(recognizer, true), QStringLiteral("scan-paired"), 0s);
        auto* withoutServer = new IPhoneScanView(recognizer, true);
        withoutServer->showServerFailure(
            QStringLiteral("Błąd serwera: port 8745 jest zajęty przez inny program"));
        isSaved &= save(withoutServer, QStringLiteral("scan-paired-failed"), 0s);
        isSaved &= save(new IPhoneScanView(recognizer, false), QStringLiteral("scan-qr"), 1s);
        auto* waiting = new IPhoneScanView(recognizer, false);
        waiting->setHintDelay(1s);
        return save(waiting, QStringLiteral("scan-qr-no-phone"), 2s) && isSaved;
    }

private:
    template <typename View>
    bool save(View* view, const QString& name, std::chrono::milliseconds settling) {
        auto* sheet = new morvik::Sheet(view, name, &m_window);
        sheet->open(view->defaultButton());
        QTest::qWait(static_cast<int>(settling.count()));
        const bool isSaved = m_screens.save(m_window, name);
        sheet->dismiss();
        QTest::qWait(10); // until it is gone, and its server
        return isSaved;
    }

    Screens& m_screens;
    MainWindow& m_window;
};

FrameTexts sampleTexts() {
    return {QStringLiteral("1.1.0"), QStringLiteral("451"), QStringLiteral("kopertal.example"),
            QStringLiteral("https://kopertal.example/"), QStringLiteral("pomoc@kopertal.example")};
}

bool saveFrame(Screens& screens) {
    const FrameTexts texts = sampleTexts();
    HelpView help(texts.supportEmail);
    bool isSaved = screens.save(help, QStringLiteral("help"));
    help.verticalScrollBar()->triggerAction(QScrollBar::SliderToMaximum);
    isSaved &= screens.save(help, QStringLiteral("help-end"));
    auto* about = new morvik::AboutPanel({QStringLiteral("Kopertal"), texts.version,
                                          texts.buildNumber, texts.websiteLabel, texts.websiteURL});
    isSaved &= screens.save(*about, QStringLiteral("about"));
    about->close();
    const Release release{
        *parseVersion(u"1.2.0"), QStringLiteral("1.2.0"),
        QStringLiteral(
            "• Drukowanie rejestru wprost z okna.\n• Śledzenie listów <b>zwrotnych</b>.\n"
            "• Szybsze rozpoznawanie zdjęć.\n\nDziękujemy za zgłoszenia."),
        QUrl(QStringLiteral("https://kopertal.example/1.2.0"))};
    UpdateView update(release, texts.version, nullptr);
    return screens.save(update, QStringLiteral("update")) && isSaved;
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    morvik::MorvikStyle::install(application);
    QApplication::setApplicationVersion(sampleTexts().version);
    QApplication::setWindowIcon(morvik::pictureIcon(QStringLiteral(":/kopertal/kopertal.svg")));
    if (argc != 2)
        return 2;
    const QTemporaryDir store;
    AppSettings settings(PreferencesStore(store.filePath(QStringLiteral("settings.json"))));
    Screens screens(QString::fromLocal8Bit(argv[1]));
    bool isSaved = true;
    {
        MainWindow window(settings);
        isSaved &= screens.save(window, QStringLiteral("sender-first-run"));
        for (auto* button : window.findChildren<morvik::LimeActionButton*>()) {
            if (button->text() == QStringLiteral("Zapisz"))
                button->click();
        }
        isSaved &= screens.save(window, QStringLiteral("sender-refused"));
    }
    settings.setSenderName(QStringLiteral("Pracownia Ceramiki Glina i Ogień"));
    settings.setSenderAddress(QStringLiteral("ul. Świętojańska 18/4, 81-368 Gdynia"));
    settings.setSaveFolder(store.path());
    Updater updater({{}, {}, {}, std::chrono::seconds(0), PreferencesStore({}), {}});
    MainWindow window(settings);
    addFrameCommands(window, updater, sampleTexts());
    isSaved &= screens.save(window, QStringLiteral("addresses-empty"));
    AddressTextEditor& editor = window.addresses().editor();
    editor.replaceText(sampleAddresses());
    isSaved &= screens.save(window, QStringLiteral("addresses"));
    editor.insertPlainText(QStringLiteral("Anna Wróbel\n\nDrukarnia Gryf\n\n"));
    isSaved &= screens.save(window, QStringLiteral("addresses-warnings"));
    QString many;
    for (int entry = 1; entry <= 300; ++entry)
        many += QStringLiteral("Wpis bez adresu o bardzo długiej nazwie, numer %1\n\n").arg(entry);
    editor.insertPlainText(many);
    window.resize(window.minimumSizeHint());
    isSaved &= screens.save(window, QStringLiteral("addresses-smallest-many-warnings"));
    window.resize(1000, 688);
    editor.replaceText(sampleAddresses());
    isSaved &= PhoneSheets(screens, window).save();
    isSaved &= saveTrackingScreens(
        settings, [&](QWidget& shown, const QString& name) { return screens.save(shown, name); });
    isSaved &= screens.save(*window.applicationMenu(), QStringLiteral("menu-application"));
    window.applicationMenu()->close();
    openSuccess(window);
    isSaved &= screens.save(window, QStringLiteral("success"));
    isSaved &= saveFrame(screens);
    isSaved &= savePrinting(screens, window);
    QMessageBox* alert = plainAlert(
        &window, QStringLiteral("Błąd"),
        QStringLiteral("LibreOffice nie przygotował stron do druku. Dokument może być uszkodzony: "
                       "otwórz go i zapisz albo stwórz kopertal od nowa.\n\nSzczegóły: Error: ") +
            QStringLiteral("<b>source</b> file could not be loaded. ").repeated(100),
        QStringLiteral("exclamationmark.triangle.fill"), morvik::MorvikTheme::Colors::error);
    isSaved &= screens.save(*alert, QStringLiteral("alert"));
    alert->close();
    SenderSetupView form(settings, true);
    isSaved &= screens.save(form, QStringLiteral("settings"));
    return isSaved ? 0 : 1;
}
