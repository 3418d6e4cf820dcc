#include "ControlClient.h"

#include "control/ControlEndpoint.h"

#include <QDeadlineTimer>
#include <QIODevice>
#include <QLocalSocket>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

const QString noAnswer = u"La copia de Tuckaway en marcha no respondió."_s;

constexpr int connectTimeout = 5000;           // milliseconds
constexpr qsizetype answerLimit = 1024 * 1024; // bytes

// The first line the running copy sends, within the time allowed; nothing when it closes,
// falls silent or sends more than an answer can hold without a line's end.
std::optional<QByteArray> answerLine(QLocalSocket& socket)
{
    const QDeadlineTimer deadline(ControlClient::answerTimeout);
    QByteArray received;
    for (;;) {
        received += socket.read(answerLimit + 1 - received.size());
        if (const qsizetype end = received.indexOf('\n'); end >= 0)
            return received.left(end);
        if (received.size() > answerLimit || deadline.hasExpired())
            return std::nullopt;
        if (!socket.waitForReadyRead(int(deadline.remainingTime())) && !socket.bytesAvailable())
            return std::nullopt;
    }
}

void say(QIODevice& device, const QString& line)
{
    device.write((line + u'\n').toUtf8());
}

} // namespace

int ControlClient::send(const ControlRequest& request, QIODevice& out, QIODevice& errors)
{
    const EndpointOrProblem endpoint = ControlEndpoint::locate(false);
    if (const auto* problem = std::get_if<ControlText>(&endpoint)) {
        say(errors, problem->in(std::nullopt));
        return exitNotRunning;
    }
    QLocalSocket socket;
    socket.connectToServer(std::get<ControlEndpoint>(endpoint).socketPath);
    if (!socket.waitForConnected(connectTimeout)) {
        say(errors, ControlText{ControlEndpoint::notRunning, {}}.in(std::nullopt));
        return exitNotRunning;
    }
    socket.write(ControlProtocol::write(request));
    socket.waitForBytesWritten(connectTimeout);
    const std::optional<QByteArray> line = answerLine(socket);
    const std::optional<ControlAnswer> answer = line ? ControlAnswer::read(*line) : std::nullopt;
    if (!answer) {
        say(errors, ControlText{noAnswer, {}}.in(std::nullopt));
        return exitRefused;
    }
    if (!answer->done()) {
        say(errors, answer->reason);
        return exitRefused;
    }
    if (request.command == ControlCommand::Status)
        out.write(answer->statusLine());
    else
        say(out, answer->status.state);
    return exitDone;
}

} // namespace tk
