#pragma once

#include <chrono>
#include <csignal>
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
  /// A copy of this process that calls `work` and exits with what it answers.
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

/// Whether `holds` becomes true within ten seconds.
template <class Condition>
bool Eventually(const Condition& holds) {
  for (int i = 0; i < 2000; ++i) {
    if (holds()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return false;
}
