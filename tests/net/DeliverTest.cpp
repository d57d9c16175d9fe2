#include "net/Deliver.h"

#include <QPointer>
#include <QPromise>
#include <QTest>
#include <QThread>

#include <memory>
#include <thread>

using namespace kopertal;

class DeliverTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void onlyALivingReceiverGetsTheResultOnItsThread() {
        QPromise<int> promise;
        promise.start();
        auto gone = std::make_unique<QObject>();
        QList<int> received;
        deliver(promise.future(), gone.get(), [&](int) { received << 0; });
        deliver(promise.future(), this, [&](int value) {
            received << value;
            QCOMPARE(QThread::currentThread(), thread());
        });
        std::thread([&] {
            promise.addResult(7);
            promise.finish();
        }).join();
        gone.reset(); // the result is already on its way
        QVERIFY(received.isEmpty());
        QTRY_COMPARE(received, QList{7});
        QTRY_VERIFY(findChildren<QObject*>().isEmpty());
    }

    void aHandlerMayDeleteItsReceiver() {
        const QPointer<QObject> receiver = new QObject;
        deliver(QtFuture::makeReadyFuture(1), receiver,
                [receiver](int) { delete receiver.data(); });
        QTRY_VERIFY(!receiver);
    }

    void onlyAHandlerOfTheFutureHearsOfCancellationAndExceptions() {
        QPromise<int> cancelled;
        cancelled.start();
        cancelled.future().cancel();
        cancelled.finish();
        const auto why = std::make_exception_ptr(std::runtime_error("why"));
        int heard = 0;
        for (const auto& future : {cancelled.future(), QtFuture::makeExceptionalFuture<int>(why)}) {
            deliver(future, this, [&](int) { heard += 100; });
            deliver(future, this, [&](const QFuture<int>&) { ++heard; });
        }
        QTRY_COMPARE(heard, 2);
    }
};

QTEST_GUILESS_MAIN(DeliverTest)
#include "DeliverTest.moc"
