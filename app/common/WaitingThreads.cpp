#include "app/common/WaitingThreads.h"

#include <QCoreApplication>
#include <QThreadPool>

namespace kopertal {
namespace {

constexpr int atOnce = 8;

QThreadPool* makePool() {
    auto* pool = new QThreadPool(qApp);
    pool->setMaxThreadCount(atOnce);
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, pool, [pool] { pool->waitForDone(); });
    return pool;
}

} // namespace

QThreadPool& waitingThreads() {
    static QThreadPool* const pool = makePool();
    return *pool;
}

} // namespace kopertal
