// One command gives the same bytes everywhere: in every build, debug and optimised, GCC's and Clang's, on every processor,
// with every C library, on one core and on many.
//
// The hashes below hold for all of them. A change says that a file which everybody gets from the same command is another
// one: change them only together with what was meant to change, say so in the changelog, and only when all builds agree. A build
// that disagrees with the others has found a dependence on the compiler, its flags, or the C library's exp, sin and the like,
// which are not the same everywhere (mien/base/elementary.h has those that are).

#include "host/files/sha256.h"
#include "tests/host/cli/run_mien.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <sched.h>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using Arguments = std::vector<std::string>;

struct Case {
  std::string output;
  Arguments command; ///< but for the output
  std::string sha256;
};

Case Landmarks(const std::string& output, const Arguments& more, const std::string& sha256) {
  Arguments command = {"solve", "landmarks.csv", "-p", "landmarks68"};
  command.insert(command.end(), more.begin(), more.end());
  return {output, command, sha256};
}
Case Markers(const std::string& output, const Arguments& more, const std::string& sha256) {
  Arguments command = {"solve", "markers.csv", "-p", "markers.performer.json"};
  command.insert(command.end(), more.begin(), more.end());
  return {output, command, sha256};
}

const std::vector<Case>& Cases() {
  static const Arguments kPuppet = {"-c", "puppet.character.json"}, kArkit = {"-c", "arkit52"};
  static const std::vector<Case> cases = {
      Landmarks("l.csv", {}, "b778da7897b37228a74e228b2e955cf9c3b8909c6999962f8cc80909c39bc24c"),
      Landmarks("l.shapes.csv", kArkit, "5f9697c93d8d67ddab501b71e8ab7d28dc6a82ba888566c27df9a3e7629f2343"),
      Landmarks("l.phone.csv", {"--csv-style", "livelink", "--timecode", "10:02:59;29"},
                "1f0b988ba5c486ae5f010e32eb8ac898c4bc6a7e3a9498bc0e17d4c10d9faa6b"),
      Landmarks("l.json", kPuppet, "fc447c80502377ffab47c2f48bc567d37acf33608019ebb15b706c379a5edd63"),
      Landmarks("l.glb", kPuppet, "1e9af6336d5b79c59dd53fa8f016c7c522b932ae82c61ed48a37b7fb0d8ce978"),
      Landmarks("l.head.glb", {"-c", "arkit52", "--onto", "head.glb", "--head", "face"},
                "5637eea7cc6f2b150b62646f88155bba8092bdfdf090ec19f2d0deb041793441"),
      Landmarks("l.smooth.csv", {"--smooth", "8"},
                "aacfdebf02f0468d3a2d4b4d87099687e96ea764a57dfca6662950f54d6fa24b"),
      Markers("m.csv", {"--report", "m.report.json"},
              "694a0cd7476739568084da41139fe3116562fdbe6228232200c3d8aa81560c2d"),
      Markers("m.shapes.csv", kPuppet, "c253eae9410af5319efdea37da8529d1752089b4563407aca3f56ac0bc2f3566"),
      Markers("m.json", kPuppet, "29d7341ea22bb894781530294b2fb737c9a6693a133188e67eee687480753d86"),
      Markers("m.glb", {}, "6283d5f6b8303e5e5b72035f67fdd5d21f9ed4124eef255197fdd5972fdbfe46"),
      Markers("m.head.glb", {"-c", "puppet.character.json", "--onto", "head.glb", "--head", "face"},
              "59911ad256458d6148c893b312497b5f3fc7322933556ba7db0852260c44102f"),
      Markers("m.smooth.json", {"-c", "puppet.character.json", "--smooth", "8", "--smooth-weights", "6.5"},
              "3241290d7e46f24a349c749eea587df7e684f5b79635eedd69a72c8a7f68a36c"),
      Markers("m.filled.csv",
              {"--fill", "hold,cubic:0.2,pattern:1,linear:2", "--fill-head", "pattern:5", "--head-tolerance",
               "1"},
              "b55eddb06d40882d2f18a96f0b432eb211018a7c549c49a5ee2c6f23fed12dbd"),
      Markers("m.rest.csv", {"--fill", "none", "--fill-head", "none", "--keep-slipped", "--fade", "0.4"},
              "222dd2a00addbeb9c1f5df0fa65274db1df80adb6efeece36350896d91d90c1e"),
      {"lost.json",
       {"solve", "lost.csv", "-p", "markers.performer.json", "--fill-head", "none"},
       "ae73e48dc128dc9e43d31f07dbb648d03a99a51ee600757b0bd080335c8a61fb"},
      {"m.c3d",
       {"convert", "markers.csv"},
       "897636574ad6caa8c7212f0ae21ff9ca63ebdba519a51e966591f430be9ca079"},
      {"m.trc",
       {"convert", "markers.csv"},
       "7c878b94c27d094622a87dc8a3ed08522bb0925af680719fd152d20e9c21574c"},
      {"l.c3d",
       {"convert", "landmarks.csv", "--timecode", "10:02:59;29"},
       "483d621ebaec27c1f48e90b5966e8824b7d476eb53abf6dd8dde583df45ee66c"},
      {"l.trc",
       {"convert", "landmarks.csv"},
       "c1464b14ec40cc6ef8a41b04274d190d4699928820b5277f10b7f8ff768f7e02"},
      {"p.json",
       {"performer", "landmarks.csv", "-p", "landmarks68"},
       "e453443386cf99df153e649ed00449be81dcdafbdc6d06fb8360740a94be86c1"},
      {"h.json",
       {"character", "from-glb", "head.glb"},
       "dfb7b665a76b3b266635cc7d71aa67d95fdde92616fb1de947b8d322076432f3"},
  };
  return cases;
}

/// The markers eight times over, with the head seen in every 37th frame only: in all others it is turned evenly, by sines and
/// an arc tangent. Two forms of the C library's sine differ about once in two thousand.
std::string WithoutHead(const std::string& markers) {
  constexpr int kHeadColumns = 15; // the last
  const std::size_t first_row = markers.find('\n') + 1;
  std::string take = markers.substr(0, first_row);
  int frame = 0;
  for (int time = 0; time < 8; ++time) {
    std::istringstream rows(markers.substr(first_row));
    for (std::string row; std::getline(rows, row); ++frame) {
      if (frame % 37 != 0) {
        std::size_t end = row.size();
        for (int column = 0; column < kHeadColumns; ++column) end = row.rfind(',', end - 1);
        row = row.substr(0, end) + std::string(kHeadColumns, ',');
      }
      const std::size_t positions = row.find(',', row.find(',') + 1);
      take += std::to_string(frame) + ',' + std::to_string(frame / 32.0) + row.substr(positions) + '\n';
    }
  }
  return take;
}

class SameBytes : public MienTest {
protected:
  SameBytes() {
    for (const char* name :
         {"landmarks.csv", "markers.csv", "markers.performer.json", "puppet.character.json", "head.glb"})
      std::filesystem::copy_file(std::filesystem::path(MIEN_SAMPLES_FOLDER) / name, folder_ / name);
    Write("lost.csv", WithoutHead(Saved("markers.csv")));
  }

  /// Runs every command after `prepare`, and compares what it wrote.
  void Check(const std::function<void()>& prepare) const {
    for (const auto& [output, command, sha256] : Cases()) {
      Arguments arguments = command;
      arguments.insert(arguments.end(), {"-o", output});
      SCOPED_TRACE(testing::PrintToString(arguments));
      const Ran ran = Run(arguments, "C.UTF-8", prepare);
      EXPECT_EQ(ran.exit_code, 0) << ran.err;
      EXPECT_EQ(mien::Sha256(Saved(output)), sha256) << output;
    }
    // It names the version, the command, the hashes of what went in and came out, and all residuals.
    EXPECT_EQ(mien::Sha256(Saved("m.report.json")),
              "dda9b454ad50066c4358ca94d0180b1ba9637aa8ad87a28fab9a9fd12038aad5")
        << "m.report.json";
  }
};

} // namespace

TEST_F(SameBytes, InEveryBuild) {
  Check([] {});
}

// glibc then takes other forms of its functions, which round otherwise in the last place. Nothing else reads this.
TEST_F(SameBytes, OnAProcessorWithoutFusedMultiplyAdds) {
  Check([] { setenv("GLIBC_TUNABLES", "glibc.cpu.hwcaps=-FMA,-AVX2,-FMA4,-AVX512F", 1); });
}

TEST_F(SameBytes, OnOneCore) {
  Check([] {
    cpu_set_t allowed, first;
    if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) _exit(126);
    std::size_t cpu = 0;
    while (cpu < CPU_SETSIZE && !CPU_ISSET(cpu, &allowed)) ++cpu;
    CPU_ZERO(&first);
    CPU_SET(cpu, &first);
    if (sched_setaffinity(0, sizeof first, &first) != 0) _exit(126);
  });
}
