#include "net/Deliver.h"

#include <QPromise>
#include <QTest>
#include <QThread>

#include <memory>
#include <thread>

using namespace kopertal;

class DeliverTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void handsTheResultToTheReceiversThread() {
        QPromise<int> promise;
        promise.start();
        int received = 0;
        QThread* receivedOn = nullptr;
        deliver(promise.future(), this, [&](int value) {
            received = value;
            receivedOn = QThread::currentThread();
        });
        std::thread([&] {
            promise.addResult(7);
            promise.finish();
        }).join();
        QCOMPARE(received, 0); // only the event loop delivers
        QTRY_COMPARE(received, 7);
        QCOMPARE(receivedOn, thread());
        QVERIFY(findChildren<QObject*>().isEmpty() ||
                QTest::qWaitFor([this] { return findChildren<QObject*>().isEmpty(); }));
    }

    void aReceiverThatIsGoneGetsNothing() {
        QPromise<int> promise;
        promise.start();
        auto receiver = std::make_unique<QObject>();
        bool called = false;
        deliver(promise.future(), receiver.get(), [&](int) { called = true; });
        promise.addResult(1);
        promise.finish(); // already on its way when the receiver goes
        receiver.reset();
        QTest::qWait(20);
        QVERIFY(!called);
    }

    void aHandlerMayDeleteItsReceiver() {
        auto* const receiver = new QObject;
        bool called = false;
        deliver(QtFuture::makeReadyFuture(1), receiver, [&called, receiver](int) {
            delete receiver;
            called = true;
        });
        QTRY_VERIFY(called);
    }

    void onlyAHandlerOfTheFutureHearsOfCancellationAndExceptions() {
        QPromise<int> cancelled;
        cancelled.start();
        QPromise<int> failed;
        failed.start();
        bool resultCalled = false;
        int futureCalled = 0;
        QString message;
        for (const QFuture<int>& future : {cancelled.future(), failed.future()}) {
            deliver(future, this, [&](int) { resultCalled = true; });
            deliver(future, this, [&](const QFuture<int>& finished) {
                ++futureCalled;
                try {
                    QFuture<int>(finished).waitForFinished();
                } catch (const std::exception& error) {
                    message = QString::fromUtf8(error.what());
                }
            });
        }
        cancelled.future().cancel();
        cancelled.finish();
        failed.setException(std::make_exception_ptr(std::runtime_error("why")));
        failed.finish();
        QTRY_COMPARE(futureCalled, 2);
        QTest::qWait(10);
        QCOMPARE(message, "why");
        QVERIFY(!resultCalled);
    }
};

QTEST_GUILESS_MAIN(DeliverTest)
#include "DeliverTest.moc"
