// RefreshBench COUNT: asks the service at KOPERTAL_TRACKING_ENDPOINT about so many rows at once, as
// the window does, merging each answer into a table sorted by date. Prints the time, the event
// loop's longest stall meanwhile, the processor time and the peak memory.
#include "net/Deliver.h"
#include "net/HttpClient.h"
#include "tracking/TrackingService.h"
#include "tracking/TrackingTableModel.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

using namespace kopertal;

namespace {

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const int count = argc > 1 ? std::atoi(argv[1]) : 1000;
    HttpOptions options;
    options.authorityFile = qEnvironmentVariable("SSL_CERT_FILE").toStdString();
    HttpClient client(options);
    const TrackingService service(client, {qEnvironmentVariable("KOPERTAL_TRACKING_ENDPOINT"),
                                           QStringLiteral("http://bench.test"),
                                           {},
                                           {}});
    TrackingTableModel model;
    QList<TrackingRow> rows;
    for (int i = 0; i < count; ++i)
        rows.emplaceBack(SentEntry{QUuid::createUuid(), {}, {}, QString::number(i)}, QString());
    model.setRows(rows);
    model.sort(TrackingTableModel::dateColumn);

    QElapsedTimer clock;
    qint64 lastTick = 0;
    qint64 longestStall = 0;
    const auto tick = [&] {
        const qint64 now = clock.nsecsElapsed();
        longestStall = std::max(longestStall, now - lastTick);
        lastTick = now;
    };
    QTimer ticker;
    ticker.setTimerType(Qt::PreciseTimer);
    QObject::connect(&ticker, &QTimer::timeout, &ticker, tick);

    int answered = 0;
    int failed = 0;
    QTimer::singleShot(0, &ticker, [&] {
        clock.start();
        ticker.start(1);
        for (const TrackingRow& row : rows) {
            deliver(service.fetch(row.trackingNumber), &ticker,
                    [&, id = row.id()](const TrackingResult& result) {
                        model.merge(id, result);
                        failed += result.events.isEmpty();
                        if (++answered == count)
                            QCoreApplication::quit();
                    });
        }
    });
    QCoreApplication::exec();
    const double total = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    tick();
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("%d rows in %.3f s, %d without events; longest stall of the event loop %.1f ms; "
                "%.2f s of processor time; %ld MB at most\n",
                count, total, failed, static_cast<double>(longestStall) / 1e6,
                seconds(usage.ru_utime) + seconds(usage.ru_stime), usage.ru_maxrss / 1024);
    return failed ? 1 : 0;
}
