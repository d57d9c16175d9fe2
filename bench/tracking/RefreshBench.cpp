// RefreshBench COUNT NAME: has the tracking tab ask the service at KOPERTAL_TRACKING_ENDPOINT about
// so many rows, its table sorted by date. Prints and records (under NAME) the longest time for
// which the main thread does nothing else. Runs without a display.
#include "app/http/LoadedHttpCarrier.h"
#include "app/settings/AppSettings.h"
#include "app/tracking/TrackingTable.h"
#include "app/tracking/TrackingView.h"
#include "bench/Result.h"
#include "bench/tracking/StallMeter.h"
#include "tracking/TrackingTableModel.h"
#include "ui/MorvikStyle.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

using namespace kopertal;

namespace {

/// What a hand on the window does not notice.
constexpr double longestStall = 100; // ms

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    if (argc != 3)
        return 2;
    morvik::MorvikStyle::install(application);
    const int count = std::atoi(argv[1]);
    const QTemporaryDir folder;
    AppSettings settings(PreferencesStore(folder.filePath(QStringLiteral("settings.json"))));
    TrackingParts parts;
    parts.access.endpoint = qEnvironmentVariable("KOPERTAL_TRACKING_ENDPOINT");
    parts.access.serviceNamespace = QStringLiteral("http://bench.test");
    parts.makeCarrier = [] {
        HttpOptions options;
        options.authorityFile = qEnvironmentVariable("SSL_CERT_FILE").toStdString();
        return loadHttpCarrier(options);
    };
    TrackingView view(settings, parts);
    view.resize(1000, 600);
    view.show();
    QList<ScannedEntry> entries;
    for (int i = 0; i < count; ++i)
        entries.append({QStringLiteral("%1").arg(i, 20, 10, QLatin1Char('0')), {}});
    view.addTrackingEntries(entries);
    view.table().sortByColumn(TrackingTableModel::dateColumn, Qt::AscendingOrder);
    QCoreApplication::processEvents();

    kopertal::testing::StallMeter meter;
    QElapsedTimer clock;
    clock.start();
    view.refreshStatuses();
    while (view.isRefreshing())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    const double total = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    meter.report("the main thread");

    int failed = 0;
    for (int row = 0; row < count; ++row)
        failed += view.model().rowAt(row).events().isEmpty();
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("%d rows in %.3f s, %d without events; longest stall of the window %.1f ms; "
                "%.2f s of processor time; %ld MB at most\n",
                count, total, failed, meter.longest(),
                seconds(usage.ru_utime) + seconds(usage.ru_stime), usage.ru_maxrss / 1024);
    const QByteArray promise = QByteArray("the window's longest stall meanwhile, ") + argv[2];
    bench::record({.promise = promise.constData(),
                   .figure = meter.longest(),
                   .unit = "ms",
                   .relation = "<=",
                   .mark = longestStall});
    return failed ? 1 : 0;
}
