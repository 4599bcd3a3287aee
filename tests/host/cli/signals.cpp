#include "host/cli/signals.h"

#include "host/files/mapped_file.h"
#include "host/files/read_file.h"
#include "host/files/whole_file.h"
#include "tests/host/input_error.h"
#include "tests/host/process.h"
#include "tests/host/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

using mien::ReadFile;
using mien::WriteWhole;
using testing::ElementsAre;

namespace fs = std::filesystem;

namespace {

/// All that end a process, except SIGKILL and SIGBUS, which is a mapped file's.
const int kEnding[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGILL,  SIGTRAP, SIGABRT,   SIGFPE,  SIGUSR1, SIGSEGV,
                       SIGUSR2, SIGPIPE, SIGALRM, SIGTERM, SIGXCPU, SIGVTALRM, SIGPROF, SIGIO,   SIGSYS};

const auto kNew = [](std::ostream& out) { out << "new"; };

class Signals : public TemporaryFolder {
protected:
  /// Names of all that is in the folder.
  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_)) names.push_back(entry.path().filename());
    return names;
  }
};

} // namespace

// Each signal is sent while the file is half written.
TEST_F(Signals, RemoveTheTemporaryFileAndEndTheProcess) {
  const fs::path path = Write("w.csv", "former");
  for (const int signal : kEnding) {
    Process process([&] {
      std::signal(signal, SIG_DFL); // whatever this test was started with
      const rlimit no_core = {0, 0};
      setrlimit(RLIMIT_CORE, &no_core);
      mien::HandleSignals();
      WriteWhole(path, [](std::ostream& out) {
        out << "half" << std::flush;
        for (;;) pause();
      });
      return 0;
    });
    const fs::path half = path.string() + "." + std::to_string(process.Id()) + ".part";
    ASSERT_TRUE(Eventually([&] { return fs::exists(half) && fs::file_size(half) == 4; }));
    process.Send(signal);
    EXPECT_EQ(process.Wait().signal, signal) << "a shell sees that it was interrupted";
    EXPECT_EQ(ReadFile(path), "former");
    EXPECT_THAT(Files(), ElementsAre("w.csv"));
  }
}

// nohup, and a shell for its background jobs, have children ignore signals. Such a child must not die of
// them.
TEST_F(Signals, ThatTheParentHadItIgnoreStayIgnored) {
  const fs::path path = folder_ / "w.csv", go_on = folder_ / "go on";
  for (const int signal : kEnding) {
    if (signal == SIGABRT || signal == SIGSEGV || signal == SIGILL || signal == SIGFPE)
      continue; // whatever ignores a crash
    fs::remove(path), fs::remove(go_on);
    Process process([&] {
      std::signal(signal, SIG_IGN);
      mien::HandleSignals();
      WriteWhole(path, [&](std::ostream& out) {
        out << "whole" << std::flush;
        Eventually([&] { return fs::exists(go_on); });
      });
      return 0;
    });
    const fs::path half = path.string() + "." + std::to_string(process.Id()) + ".part";
    ASSERT_TRUE(Eventually([&] { return fs::exists(half) && fs::file_size(half) == 5; }));
    process.Send(signal);
    Write("go on", "");
    EXPECT_EQ(process.Wait().exit_code, 0) << signal;
    EXPECT_TRUE(fs::exists(path)) << signal;
  }
}

TEST_F(Signals, ASignalAfterAFailedOrFinishedWriteRemovesNothing) {
  Process process([&] {
    std::signal(SIGTERM, SIG_DFL);
    mien::HandleSignals();
    WriteWhole(folder_ / "w.csv", kNew);
    InputErrorOf([&] { WriteWhole(folder_ / "none" / "w.csv", kNew); });
    // Somebody else's file of the name that the temporary one had.
    for (const fs::path& path : {folder_ / "w.csv", folder_ / "none" / "w.csv"}) {
      fs::create_directories(path.parent_path());
      std::ofstream(path.string() + "." + std::to_string(getpid()) + ".part") << "not ours";
    }
    std::raise(SIGTERM);
    return 0;
  });
  const std::string ending = "." + std::to_string(process.Id()) + ".part";
  EXPECT_EQ(process.Wait().signal, SIGTERM);
  EXPECT_TRUE(fs::exists(folder_ / ("w.csv" + ending)));
  EXPECT_TRUE(fs::exists(folder_ / "none" / ("w.csv" + ending)));
  EXPECT_EQ(ReadFile(folder_ / "w.csv"), "new");
}

TEST_F(Signals, AMappedFileThatIsCutShortEndsTheProcessWithAMessage) {
  const fs::path path = Write("take.csv", std::string(100'000, 'x')), messages = folder_ / "messages";
  Process process([&] {
    if (!freopen(messages.c_str(), "w", stderr)) return 127;
    mien::HandleSignals();
    const mien::MappedFile file(path);
    fs::resize_file(path, 0);
    const volatile char* const bytes = file.Bytes().data();
    return bytes[50'000] == 'x' ? 2 : 3;
  });
  EXPECT_EQ(process.Wait().exit_code, 1);
  EXPECT_EQ(ReadFile(messages),
            "mien: a file was cut short while it was being read; try again when it is complete\n");
}

TEST_F(Signals, AnOrderlyStopNotesTheFirstAndTheSecondEndsTheProcess) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    Process process([&] {
      std::signal(signal, SIG_DFL);
      mien::HandleSignals();
      const mien::OrderlyStop stop;
      if (mien::OrderlyStop::Wanted() || mien::OrderlyStop::Signal() != 0) return 1;
      std::raise(signal);
      if (!mien::OrderlyStop::Wanted() || mien::OrderlyStop::Signal() != signal) return 2;
      WriteWhole(folder_ / "w.csv", [&](std::ostream& out) {
        out << "half" << std::flush;
        std::raise(signal);
      });
      return 3;
    });
    EXPECT_EQ(process.Wait().signal, signal);
    EXPECT_THAT(Files(), ElementsAre());
  }
}

TEST_F(Signals, AfterAnOrderlyStopTheyEndTheProcessAsBefore) {
  Process process([&] {
    std::signal(SIGTERM, SIG_DFL);
    std::signal(SIGHUP, SIG_IGN);
    mien::HandleSignals();
    {
      const mien::OrderlyStop stop;
      std::raise(SIGHUP); // which the parent has ignored
      if (mien::OrderlyStop::Wanted()) return 1;
      std::raise(SIGTERM);
    }
    mien::EndBySignal(mien::OrderlyStop::Signal());
  });
  EXPECT_EQ(process.Wait().signal, SIGTERM);
}
