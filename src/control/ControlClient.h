#pragma once

#include "control/ControlProtocol.h"

class QIODevice;

namespace tk {

// The sending side, for a launch given a control switch or address: it starts nothing.
namespace ControlClient {

inline constexpr int exitDone = 0;
inline constexpr int exitRefused = 1; // or the running copy gave no answer
inline constexpr int exitMisused = 2;
inline constexpr int exitNotRunning = 3;

inline constexpr int answerTimeout = 60000; // milliseconds of the machine's time

// Sends `request` to the running copy of this user and says its answer: for a status request
// the status as one line of JSON, for any other the state it left, on `out`; a refusal's
// reason on `errors`. Returns the exit code of the launch.
int send(const ControlRequest& request, QIODevice& out, QIODevice& errors);

} // namespace ControlClient

} // namespace tk
