#pragma once

#include "control/ControlOperations.h"

#include <QObject>
#include <deque>

namespace tk {

// Carries out requests one at a time, in the order they came, whoever sent them (a socket's
// client, an address the system opened), and words the answers in the interface language.
// A status request is answered at once: it changes nothing. Main thread only.
class ControlDispatcher final : public QObject {
    Q_OBJECT

public:
    using Reply = std::function<void(const ControlAnswer&)>;

    explicit ControlDispatcher(ControlOperations& operations, QObject* parent = nullptr);
    ~ControlDispatcher() override;

    // `reply` is called once, when the request is over; never after this object is gone.
    void submit(const ControlRequest& request, Reply reply);
    // The answer to a request that could not be read.
    ControlAnswer answer(const ControlError& error) const;
    // Requests not yet over, the one under way included.
    qsizetype outstanding() const { return qsizetype(m_queue.size()) + (m_busy ? 1 : 0); }

Q_SIGNALS:
    // A request (not a status request) starts being carried out.
    void started(const ControlRequest& request);

private:
    struct Job {
        ControlRequest request;
        Reply reply;
    };

    void startNext();
    void perform(const ControlRequest& request, ControlOperations::Done done);
    ControlAnswer answer(const ControlOutcome& outcome) const;

    ControlOperations& m_operations;
    std::deque<Job> m_queue;
    bool m_busy = false;
};

} // namespace tk
