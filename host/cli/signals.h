#pragma once

#include <array>
#include <atomic>

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

/// While it lives, the first SIGINT, SIGTERM or SIGHUP is noted and nothing else, so that work can stop in
/// order; the second ends the process as HandleSignals says. There can be one at a time.
class OrderlyStop {
public:
  OrderlyStop();
  ~OrderlyStop();
  OrderlyStop(const OrderlyStop&) = delete;
  OrderlyStop& operator=(const OrderlyStop&) = delete;

  /// Becomes true with the signal, on any thread.
  static const std::atomic<bool>& Wanted();
  /// The signal; 0 without one.
  static int Signal();

private:
  using Handler = void (*)(int);
  std::array<Handler, 3> before_;
};

/// Ends the process as this signal would have.
[[noreturn]] void EndBySignal(int signal);

} // namespace mien
