#pragma once

#include <QObject>

namespace kopertal {

/// While it lives, SIGTERM, SIGINT and SIGHUP are told as a signal of Qt's, on its own thread, so
/// that the program ends in order. One at a time.
class TerminationSignals : public QObject {
    Q_OBJECT

public:
    explicit TerminationSignals(QObject* parent = nullptr);
    ~TerminationSignals() override;

Q_SIGNALS:
    void terminationRequested();

private:
    int m_ends[2] = {-1, -1};
};

} // namespace kopertal
