#pragma once

#include <QFuture>
#include <QFutureWatcher>
#include <QObject>

#include <utility>

namespace kopertal {

/// Calls `take` with the finished future on the receiver's thread; never, when the receiver has
/// gone by then.
template <typename T, typename Take>
void deliver(const QFuture<T>& future, QObject* receiver, Take take) {
    auto* watcher = new QFutureWatcher<T>(receiver);
    QObject::connect(watcher, &QFutureWatcher<T>::finished, receiver,
                     [watcher, take = std::move(take)]() mutable {
                         watcher->deleteLater();
                         take(watcher->future());
                     });
    watcher->setFuture(future);
}

} // namespace kopertal
