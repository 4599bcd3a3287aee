#pragma once

namespace mien {

/// Makes SIGINT, SIGTERM and SIGHUP remove the files that are being filled before they end the process as they would have
/// done. SIGBUS, which a mapped input raises when it is cut short while it is read, ends it with a message and exit code 1.
/// Writing past a quota fails as on a full disk, without a signal.
void HandleSignals();

} // namespace mien
