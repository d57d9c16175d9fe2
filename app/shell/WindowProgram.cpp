#include "app/shell/WindowProgram.h"

#include "app/BuildConfig.h"
#include "app/Configuration.h"
#include "app/ModuleEntry.h"
#include "app/addresses/AddressView.h"
#include "app/http/LoadedHttpCarrier.h"
#include "app/settings/AppSettings.h"
#include "app/settings/PreferencesStore.h"
#include "app/shell/AppDelegate.h"
#include "app/shell/DesktopWishes.h"
#include "app/shell/EditWords.h"
#include "app/shell/FontReading.h"
#include "app/shell/FrameCommands.h"
#include "app/shell/LatePage.h"
#include "app/shell/MainWindow.h"
#include "app/shell/MissingDisplay.h"
#include "app/shell/SingleInstance.h"
#include "app/shell/TerminationSignals.h"
#include "app/shell/WindowMemory.h"
#include "app/tracking/TrackingView.h"
#include "ui/Icons.h"
#include "ui/MorvikStyle.h"

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QLocale>
#include <QSessionManager>
#include <QStandardPaths>
#include <QThreadPool>
#include <QTranslator>

#include <cstdio>
#include <optional>

namespace kopertal {
namespace {

constexpr int glance = 50; // milliseconds between two looks for a signal
const char* const waylandToken = "XDG_ACTIVATION_TOKEN";

QString absolute(const QString& file) {
    return file.isEmpty() ? file : QFileInfo(file).absoluteFilePath();
}

void speakPolish(QApplication& application) {
    QLocale::setDefault(QLocale(QLocale::Polish, QLocale::Poland));
    auto* translator = new QTranslator(&application);
    if (translator->load(QStringLiteral("qtbase_pl"),
                         QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        application.installTranslator(translator);
    application.installTranslator(new EditWords(&application)); // the last one is asked first
}

TrackingParts trackingParts() {
    return {trackingAccess(), [] { return loadHttpCarrier(httpOptions()); },
            QApplication::applicationFilePath(), pairingPage()};
}

UpdaterParts updaterParts() {
    HttpOptions options = httpOptions();
    options.maxBodyBytes = maxFeedBytes;
    const FrameTexts texts = frameTexts();
    return {updateFeed(),
            texts.version,
            texts.buildNumber,
            updateInterval(),
            PreferencesStore(PreferencesStore::defaultPath()),
            [options] { return loadHttpCarrier(options); }};
}

/// Waits for a register in the making, which a signal still ends.
void finishRegister() {
    while (!QThreadPool::globalInstance()->waitForDone(glance))
        QCoreApplication::processEvents();
}

int runFirst(SingleInstance& instance, DesktopWishes& wishes,
             TerminationSignals& terminationSignals, const QString& file) {
    AppSettings& settings = AppSettings::shared();
    AppDelegate delegate(PreferencesStore(PreferencesStore::defaultPath()), settings.sentBooksKey,
                         updaterParts());
    MainWindow window(settings);
    WindowMemory memory(PreferencesStore(PreferencesStore::defaultPath()), window);
    QObject::connect(&window, &MainWindow::filled, &window, [&] {
        QApplication::setWindowIcon(morvik::pictureIcon(QStringLiteral(":/kopertal/kopertal.svg")));
        window.addTrackingTab(new LatePage([&] {
            auto* tracking = new TrackingView(settings, trackingParts());
            window.addViewActions(AppTab::tracking, tracking->actions());
            memory.restore(*tracking);
            return tracking;
        }));
        addFrameCommands(window, delegate.updater(), frameTexts());
        memory.restore(window.content());
        QObject::connect(
            &terminationSignals, &TerminationSignals::terminationRequested,
            &terminationSignals, // also after the window's end
            [stop = window.addresses().generationStop()]() mutable { stop.request_stop(); });
        if (!file.isEmpty())
            window.addresses().loadFile(file);
    });
    QObject::connect(&instance, &SingleInstance::started, &window,
                     [&](const StartMessage& message) {
                         if (!message.activationToken.isEmpty())
                             qputenv(waylandToken, message.activationToken.toUtf8());
                         window.raiseToFront();
                         if (!message.file.isEmpty()) {
                             window.content().selectTab(AppTab::addresses);
                             window.addresses().loadFile(message.file);
                         }
                     });
    QObject::connect(&terminationSignals, &TerminationSignals::terminationRequested, qApp,
                     &QCoreApplication::quit);
    // A session that is restored starts the window as the user would. Its end reaches the program
    // as a request to quit.
    QObject::connect(qApp, &QGuiApplication::saveStateRequest, &window,
                     [](QSessionManager& session) {
                         session.setRestartCommand({QCoreApplication::applicationFilePath()});
                     });
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, &instance, &SingleInstance::release);
    window.show();
    wishes.followLater();
    return QApplication::exec();
}

} // namespace

int runWindow(int& count, char** arguments) {
    const QString file = count > 1 ? QFile::decodeName(arguments[1]) : QString();
    std::jthread fontConfiguration = readFontConfiguration();
    auto missingDisplay = std::make_optional<MissingDisplay>();
    QApplication application(count, arguments);
    missingDisplay.reset();
    fontConfiguration = {}; // waits for it
    const std::jthread fontList = readFontList();
    QApplication::setApplicationName(QStringLiteral("kopertal"));
    QApplication::setApplicationVersion(QStringLiteral(KOPERTAL_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("kopertal"));
    SingleInstance instance(QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation));
    if (!instance.claim()) {
        if (instance.handOver({absolute(file), qEnvironmentVariable(waylandToken)}))
            return 0;
        std::fputs("Kopertal już działa, ale nie odpowiada.\n", stderr);
        return 1;
    }
    DesktopWishes wishes(PreferencesStore(PreferencesStore::defaultPath()),
                         QGuiApplication::platformName().startsWith(u"wayland"));
    morvik::MorvikStyle::install(application);
    speakPolish(application);
    TerminationSignals terminationSignals;
    const int code = runFirst(instance, wishes, terminationSignals, absolute(file));
    finishRegister();
    return code;
}

} // namespace kopertal

KOPERTAL_MODULE(kopertal::runWindow)
