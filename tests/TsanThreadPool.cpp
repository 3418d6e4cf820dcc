// Linked into the tests of the ThreadSanitizer flavour only. Qt's thread pool hands a task
// to a waiting thread under Qt's own locks, which the checker cannot see, so every such
// hand-over would read as a race. A thread started for the task is a hand-over the checker
// does see (thread creation orders everything before it), so pooled threads end as soon as
// their task does.
#include <QThreadPool>

namespace {

const bool freshThreadPerTask = [] {
    QThreadPool::globalInstance()->setExpiryTimeout(0);
    return true;
}();

} // namespace
