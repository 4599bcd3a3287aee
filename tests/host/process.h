#pragma once

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

/// How a process ended: its exit code, or the signal that ended it.
struct ProcessEnd {
  int exit_code = -1;
  int signal = 0;
};

/// A process of the test's own, killed if it still runs when the test is through with it.
class Process {
public:
  /// A copy of this process that calls `work` and exits with what it returns.
  explicit Process(const std::function<int()>& work) : id_(fork()) {
    if (id_ == 0) _exit(work());
  }
  ~Process() {
    if (id_ > 0) {
      Send(SIGKILL);
      waitpid(id_, nullptr, 0);
    }
  }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t Id() const { return id_; }
  void Send(int signal) const {
    if (id_ > 0) kill(id_, signal); // -1 would be every process there is
  }

  ProcessEnd Wait() {
    ProcessEnd end;
    int status = 0;
    if (waitpid(id_, &status, 0) == id_) {
      if (WIFEXITED(status)) end.exit_code = WEXITSTATUS(status);
      if (WIFSIGNALED(status)) end.signal = WTERMSIG(status);
    }
    id_ = -1;
    return end;
  }

private:
  pid_t id_;
};

/// Steps of a child process, each of which the test allows.
class Steps {
public:
  Steps() {
    if (pipe(ends_) != 0) std::abort();
  }
  ~Steps() {
    close(ends_[0]);
    close(ends_[1]);
  }
  Steps(const Steps&) = delete;
  Steps& operator=(const Steps&) = delete;

  /// In the child: waits for the next step.
  void Await() const {
    char step = 0;
    if (read(ends_[0], &step, 1) != 1) std::abort();
  }

  void Allow() const {
    if (write(ends_[1], "+", 1) != 1) std::abort();
  }

private:
  int ends_[2] = {-1, -1};
};

/// Whether `holds` becomes true within a minute, which is long for any machine.
template <class Condition>
bool Eventually(const Condition& holds) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (std::chrono::steady_clock::now() < end) {
    if (holds()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return false;
}
