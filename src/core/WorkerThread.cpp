#include "WorkerThread.h"

namespace tk {

WorkerThreadBase::~WorkerThreadBase()
{
    join();
}

void WorkerThreadBase::begin(std::function<void()> work, QThread::Priority priority)
{
    Q_ASSERT(!m_thread.joinable()); // one piece of work at a time
    m_thread = std::thread([this, work = std::move(work), priority] {
        if (priority != QThread::InheritPriority)
            QThread::currentThread()->setPriority(priority);
        work();
        // By name, so that the event is Qt's alone; the owner joins before reading anything.
        QMetaObject::invokeMethod(this, "workEnded", Qt::QueuedConnection);
    });
}

void WorkerThreadBase::join()
{
    if (m_thread.joinable())
        m_thread.join();
}

void WorkerThreadBase::workEnded()
{
    join();
    Q_EMIT finished();
}

} // namespace tk
