#pragma once

#include <QFutureWatcher>
#include <QObject>

#include <type_traits>
#include <utility>

namespace kopertal {

/// Calls `handler` on the thread of `receiver` when `future` has finished, unless the receiver is
/// gone by then: a receiver that no longer exists gets nothing.
///
/// The handler takes the result, and is not called when the future was cancelled; or it takes the
/// QFuture itself, is always called, and deals with cancellation and exceptions. To be called on
/// the receiver's thread.
template <typename T, typename Handler>
void deliver(const QFuture<T>& future, QObject* receiver, Handler handler) {
    auto* const watcher = new QFutureWatcher<T>(receiver);
    QObject::connect(watcher, &QFutureWatcherBase::finished, receiver,
                     [watcher, handler = std::move(handler)]() mutable {
                         watcher->deleteLater();
                         const QFuture<T> finished = watcher->future();
                         // In this order: a QFuture<T> also converts to T, by throwing.
                         if constexpr (std::is_void_v<T> && std::is_invocable_v<Handler&>) {
                             if (!finished.isCanceled())
                                 handler();
                         } else if constexpr (std::is_invocable_v<Handler&, T>) {
                             if (!finished.isCanceled())
                                 handler(finished.result());
                         } else {
                             handler(finished);
                         }
                     });
    watcher->setFuture(future);
}

} // namespace kopertal
