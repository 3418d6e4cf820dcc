#include "ControlDispatcher.h"

#include "l10n/L10n.h"

#include <QPointer>

namespace tk {

ControlDispatcher::ControlDispatcher(ControlOperations& operations, QObject* parent)
    : QObject(parent), m_operations(operations)
{
}

ControlDispatcher::~ControlDispatcher() = default;

void ControlDispatcher::submit(const ControlRequest& request, Reply reply)
{
    if (request.command == ControlCommand::Status) {
        reply(answer(ControlOutcome()));
        return;
    }
    m_queue.push_back({request, std::move(reply)});
    if (!m_busy)
        startNext();
}

void ControlDispatcher::startNext()
{
    if (m_queue.empty())
        return;
    Job job = std::move(m_queue.front());
    m_queue.pop_front();
    m_busy = true;
    Q_EMIT started(job.request);
    QPointer<ControlDispatcher> self(this);
    perform(job.request, [self, reply = std::move(job.reply)](const ControlOutcome& outcome) {
        if (!self)
            return;
        self->m_busy = false;
        reply(self->answer(outcome));
        if (self && !self->m_busy)
            self->startNext();
    });
}

void ControlDispatcher::perform(const ControlRequest& request, ControlOperations::Done done)
{
    switch (request.command) {
    case ControlCommand::Collapse:
        return m_operations.collapse(std::move(done));
    case ControlCommand::Expand:
        return m_operations.expand(std::move(done));
    case ControlCommand::Toggle:
        return m_operations.toggle(std::move(done));
    case ControlCommand::ShowAll:
        return m_operations.showAll(std::move(done));
    case ControlCommand::Reveal:
        return m_operations.reveal(request.application, std::move(done));
    case ControlCommand::Status:
        break;
    }
    done(ControlOutcome());
}

ControlAnswer ControlDispatcher::answer(const ControlOutcome& outcome) const
{
    const QString language = m_operations.language();
    ControlAnswer answer;
    if (outcome) {
        answer.error = ControlProtocol::refused;
        answer.reason = outcome->in(language);
        return answer;
    }
    answer.status = m_operations.status();
    answer.status.message = L10n::text(answer.status.message, language);
    return answer;
}

ControlAnswer ControlDispatcher::answer(const ControlError& error) const
{
    ControlAnswer answer;
    answer.error = error.code;
    answer.reason = error.text.in(m_operations.language());
    return answer;
}

} // namespace tk
