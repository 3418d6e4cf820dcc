// The control interface's readers on arbitrary bytes: a request line gives a request or an
// error with its code and reason, and a request written back reads as itself; an address gives
// the same; an answer line read back writes as the same answer.
#include "FuzzSupport.h"
#include "control/ControlProtocol.h"

using namespace tk;

namespace {

const QStringList codes{ControlProtocol::malformed, ControlProtocol::unknownCommand,
                        ControlProtocol::tooLong};

void checkRead(const RequestOrError& read, const char* what)
{
    if (const auto* error = std::get_if<ControlError>(&read)) {
        fuzz::check(codes.contains(error->code), "an error has a known code");
        fuzz::check(!error->text.in(QStringLiteral("en")).isEmpty(), "an error says why");
        return;
    }
    const auto& request = std::get<ControlRequest>(read);
    fuzz::check((request.command == ControlCommand::Reveal) ==
                    ControlProtocol::isApplicationId(request.application),
                "only a reveal names an application, and a well-formed one");
    const QByteArray line = ControlProtocol::write(request);
    fuzz::check(line.size() <= ControlProtocol::maximumLineLength + 1, what);
    const RequestOrError again = ControlProtocol::read(line.chopped(1));
    const auto* reread = std::get_if<ControlRequest>(&again);
    fuzz::check(reread && *reread == request, "a request reads back as itself");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = fuzz::bytes(data, size);
    const RequestOrError read = ControlProtocol::read(bytes);
    fuzz::check(bytes.size() <= ControlProtocol::maximumLineLength ||
                    std::holds_alternative<ControlError>(read),
                "a line over the limit is refused");
    checkRead(read, "a request's line stays within the limit");
    const QString address = QString::fromUtf8(bytes);
    if (ControlProtocol::isAddress(address))
        checkRead(ControlProtocol::fromAddress(address),
                  "an address's request stays within the limit");
    if (const std::optional<ControlAnswer> answer = ControlAnswer::read(bytes)) {
        const std::optional<ControlAnswer> again = ControlAnswer::read(answer->line().chopped(1));
        fuzz::check(again && *again == *answer, "an answer reads back as itself");
    }
    return 0;
}
