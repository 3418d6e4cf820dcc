#pragma once

#include <QObject>
#include <QThread>
#include <functional>
#include <thread>
#include <utility>

namespace tk {

// One piece of work on a thread of its own, and `finished` on the owner's thread once the
// thread has been joined. Nothing of ours crosses between the threads but through the
// thread's start and its join, which a thread checker sees: the word that the work is done
// goes through Qt's event queue and carries nothing. Going away waits for the work, so
// whatever it reads must outlive this object.
class WorkerThreadBase : public QObject {
    Q_OBJECT

public:
    ~WorkerThreadBase() override;

    WorkerThreadBase(const WorkerThreadBase&) = delete;
    WorkerThreadBase& operator=(const WorkerThreadBase&) = delete;

    // Waits for the work to end, if it has begun.
    void join();

Q_SIGNALS:
    void finished();

protected:
    explicit WorkerThreadBase(QObject* parent) : QObject(parent) {}
    void begin(std::function<void()> work, QThread::Priority priority);

private:
    Q_INVOKABLE void workEnded();

    std::thread m_thread;
};

template <typename Result>
class WorkerThread final : public WorkerThreadBase {
public:
    explicit WorkerThread(std::function<Result()> work, QObject* parent = nullptr)
        : WorkerThreadBase(parent), m_work(std::move(work))
    {
    }
    ~WorkerThread() override { join(); }

    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;

    void start(QThread::Priority priority = QThread::InheritPriority)
    {
        begin([this] { m_result = m_work(); }, priority);
    }

    // The work's result; waits for the work if it is still running.
    Result takeResult()
    {
        join();
        return std::move(m_result);
    }

private:
    std::function<Result()> m_work;
    Result m_result{};
};

} // namespace tk
