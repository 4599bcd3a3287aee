#pragma once

// The mien command as a process with arguments, an environment, streams and an exit code, in a folder of the test's own.

#include "host/files/read_file.h"
#include "tests/host/process.h"
#include "tests/host/temporary_folder.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <string>
#include <unistd.h>
#include <vector>

class MienTest : public TemporaryFolder {
protected:
  struct Ran : ProcessEnd {
    std::string out, err;
  };

  /// Runs it in the test's folder, in a UTF-8 locale unless another is named. `prepare` is what the system does before.
  Ran Run(
      const std::vector<std::string>& arguments, const std::string& locale = "C.UTF-8",
      const std::function<void()>& prepare = [] {}) const {
    Process process([&] {
      std::vector<char*> argv = {const_cast<char*>("mien")};
      for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
      argv.push_back(nullptr);
      setenv("LC_ALL", locale.c_str(), 1);
      prepare();
      if (chdir(folder_.c_str()) != 0 || !Redirect(STDOUT_FILENO, Out()) || !Redirect(STDERR_FILENO, Err()))
        return 127;
      execv(MIEN_COMMAND, argv.data());
      return 127;
    });
    Ran ran;
    static_cast<ProcessEnd&>(ran) = process.Wait();
    ran.out = mien::ReadFile(Out());
    ran.err = mien::ReadFile(Err());
    std::filesystem::remove(Out());
    std::filesystem::remove(Err());
    return ran;
  }

  bool Has(const std::string& name) const { return std::filesystem::exists(folder_ / name); }
  std::string Saved(const std::string& name) const { return mien::ReadFile(folder_ / name); }

private:
  std::string Out() const { return folder_ / ".out"; }
  std::string Err() const { return folder_ / ".err"; }

  static bool Redirect(int stream, const std::string& place) {
    const int file = open(place.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    return file >= 0 && dup2(file, stream) == stream && close(file) == 0;
  }
};
