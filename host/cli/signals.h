#pragma once

namespace mien {

/// Makes the signals that end a process remove the files that are being filled first, and then end it as they
/// would have done: SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGABRT and the like, and those of a crash.
/// SIGKILL cannot be handled. A signal that the parent has ignored, as nohup does, or that a sanitizer
/// handles stays as it is.
///
/// SIGBUS, which a mapped input raises when it is cut short while it is read, ends the process with a message
/// and exit code
/// 1. Writing past a quota fails as on a full disk, without a signal.
void HandleSignals();

} // namespace mien
