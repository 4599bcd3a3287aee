// One command gives the same bytes everywhere: in every build, debug and optimised, GCC's and Clang's, on
// every processor, with every C library, on one core and on many.
//
// The hashes below hold for all of them. A change says that a file which everybody gets from the same command
// is another one: change them only together with what was meant to change, say so in the changelog, and only
// when all builds agree. A build that disagrees with the others has found a dependence on the compiler, its
// flags, or the C library's exp, sin and the like, which are not the same everywhere (mien/base/elementary.h
// has those that are).

#include "host/files/sha256.h"
#include "tests/host/cli/run_mien.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
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
  std::string
      by_core; ///< of the same with --head-fit markers --brows core, which no release has changed; empty: not a solve
};

Case Landmarks(const std::string& output, const Arguments& more, const std::string& sha256,
               const std::string& by_core) {
  Arguments command = {"solve", "landmarks.csv", "-p", "landmarks68"};
  command.insert(command.end(), more.begin(), more.end());
  return {output, command, sha256, by_core};
}
Case Markers(const std::string& output, const Arguments& more, const std::string& sha256,
             const std::string& by_core) {
  Arguments command = {"solve", "markers.csv", "-p", "markers.performer.json"};
  command.insert(command.end(), more.begin(), more.end());
  return {output, command, sha256, by_core};
}

const std::vector<Case>& Cases() {
  static const Arguments kPuppet = {"-c", "puppet.character.json"}, kArkit = {"-c", "arkit52"};
  static const std::vector<Case> cases = {
      Landmarks("l.csv", {}, "dda88a27104aa5aba8c1df5317eb03bd7b84d44544249207decf9e9cda4182e3",
                "b778da7897b37228a74e228b2e955cf9c3b8909c6999962f8cc80909c39bc24c"),
      Landmarks("l.shapes.csv", kArkit, "3555d87ab8aa58406230e4005df144c5cde5d91cff84178323d402afb44af549",
                "5f9697c93d8d67ddab501b71e8ab7d28dc6a82ba888566c27df9a3e7629f2343"),
      Landmarks("l.phone.csv", {"--csv-style", "livelink", "--timecode", "10:02:59;29"},
                "b36061b8138ee15a0ca5a170468f93ae50e33d4b031046d42d1219ffb6bb5a12",
                "1f0b988ba5c486ae5f010e32eb8ac898c4bc6a7e3a9498bc0e17d4c10d9faa6b"),
      Landmarks("l.json", kPuppet, "b8f5fb60b6f147364e4b1f24ce82568f989fe8e2cf69493fb221dbd33381c7b4",
                "fc447c80502377ffab47c2f48bc567d37acf33608019ebb15b706c379a5edd63"),
      Landmarks("l.glb", kPuppet, "d5260ca34fffef415acd952949b979f9e9b7276d2a9f681826a092b64e0b364b",
                "28aa0b367e0d38f60d40f585f9eff5c531193a3ddfd87d5d51a21d5b90e57177"),
      Landmarks("l.head.glb", {"-c", "arkit52", "--onto", "head.glb", "--head", "face"},
                "2f508c69094fc1fa0c43e75f1cd6d8b22851232505c35a890350b22354dc4dc5",
                "373fb5d8d6c96bb54275548bff222f3d9d166a425ee862a911951e59ff0f6626"),
      Landmarks("l.smooth.csv", {"--smooth", "8"},
                "d0fbfb917e7c7e5633fbbabca56ef9ef7eeebb7d03fc7fb0bdb97c96c4eb00eb",
                "aacfdebf02f0468d3a2d4b4d87099687e96ea764a57dfca6662950f54d6fa24b"),
      Markers("m.csv", {"--report", "m.report.json"},
              "3512c518672c6b62c0c73eb551c6ae64d4664278b55b530823a29d3eec1929b6",
              "694a0cd7476739568084da41139fe3116562fdbe6228232200c3d8aa81560c2d"),
      Markers("m.shapes.csv", kPuppet, "cee893c006fe9ecbe104cd4e525af5bbb177f3408757dfbb55966b2cf292de15",
              "c253eae9410af5319efdea37da8529d1752089b4563407aca3f56ac0bc2f3566"),
      Markers("m.json", kPuppet, "bf7d0e5581d2afb343812033728d6be1c2307a29fbdeab314997550ba28e1f74",
              "29d7341ea22bb894781530294b2fb737c9a6693a133188e67eee687480753d86"),
      Markers("m.glb", {}, "2a9ca1a6039f8af65ed25266defe5530b7354afe9a614bacdaa03206c02a35df",
              "36ccc4c4b794b233409b5fe31acd8ac08cb287c7255430769f03a95b5b69efb1"),
      Markers("m.head.glb", {"-c", "puppet.character.json", "--onto", "head.glb", "--head", "face"},
              "aefbf0ca02c096b575809062764ed0ba65e5ff076d6f6e10e45e1ddc663c5731",
              "3a1f6195f04b56b7d73e2aad2fbd6b0245c8c23442ec4d3c92492ed816e817e5"),
      Markers("m.smooth.json", {"-c", "puppet.character.json", "--smooth", "8", "--smooth-weights", "6.5"},
              "7aff557ab2794e99c78f85bcac36360c7ed8823bddf61a6f17b5c1ee22ff5bc4",
              "3241290d7e46f24a349c749eea587df7e684f5b79635eedd69a72c8a7f68a36c"),
      Markers("m.filled.csv",
              {"--fill", "hold,cubic:0.2,pattern:1,linear:2", "--fill-head", "pattern:5", "--head-tolerance",
               "1"},
              "7dbf97564da85f5399066717b13d9d7a154b82317dcf199e226889b7d9c5e534",
              "b55eddb06d40882d2f18a96f0b432eb211018a7c549c49a5ee2c6f23fed12dbd"),
      Markers("m.rest.csv", {"--fill", "none", "--fill-head", "none", "--keep-slipped", "--fade", "0.4"},
              "c8e0d2a10d55cb94d4e34a4b57bc8e9483e43e045ff2d255e8da61b8d8d39d81",
              "222dd2a00addbeb9c1f5df0fa65274db1df80adb6efeece36350896d91d90c1e"),
      {"lost.json",
       {"solve", "lost.csv", "-p", "markers.performer.json", "--fill-head", "none"},
       "59139674e3c22d07c584400f6cad91c7f69e128e03e1e86354785b7905823f97",
       "ae73e48dc128dc9e43d31f07dbb648d03a99a51ee600757b0bd080335c8a61fb"},
      {"l.fit.csv",
       {"solve", "landmarks.csv", "-p", "landmarks68", "-c", "arkit52", "--solver", "fit"},
       "151e905b3acf6a46e295da660b1dc9a655a60e8738f8740e2f071d6c03c21cc3",
       ""},
      {"m.fit.csv",
       {"solve", "markers.csv", "-p", "markers.performer.json", "-c", "arkit52", "--solver", "fit"},
       "f59db1ac6dbc8d6387dfb8bbbd92d8ff5f3cf68540c917c95bc21fd495376c0a",
       ""},
      {"m.c3d",
       {"convert", "markers.csv"},
       "897636574ad6caa8c7212f0ae21ff9ca63ebdba519a51e966591f430be9ca079",
       ""},
      {"m.trc",
       {"convert", "markers.csv"},
       "7c878b94c27d094622a87dc8a3ed08522bb0925af680719fd152d20e9c21574c",
       ""},
      {"l.c3d",
       {"convert", "landmarks.csv", "--timecode", "10:02:59;29"},
       "483d621ebaec27c1f48e90b5966e8824b7d476eb53abf6dd8dde583df45ee66c",
       ""},
      {"l.trc",
       {"convert", "landmarks.csv"},
       "c1464b14ec40cc6ef8a41b04274d190d4699928820b5277f10b7f8ff768f7e02",
       ""},
      {"p.json",
       {"performer", "landmarks.csv", "-p", "landmarks68"},
       "1707e2d6bdbd477046579a25b60c5085eb35aa7a7100ab6aeda8afb25b4fc29e",
       ""},
      {"h.json",
       {"character", "from-glb", "head.glb"},
       "1ae95585e0fdb37c8942b737df6a915017441eaf6ec3924f035fa24253133786",
       ""},
  };
  return cases;
}

/// The markers eight times over, with the head seen in every 37th frame only: in all others it is turned
/// evenly, by sines and an arc tangent. Two forms of the C library's sine differ about once in two thousand.
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

  /// Runs a command after `prepare`, and compares what it wrote.
  void Check(Arguments command, const std::string& output, const std::string& sha256,
             const std::function<void()>& prepare) const {
    command.insert(command.end(), {"-o", output});
    SCOPED_TRACE(testing::PrintToString(command));
    const Ran ran = Run(command, "C.UTF-8", prepare);
    EXPECT_EQ(ran.exit_code, 0) << ran.err;
    EXPECT_EQ(mien::Sha256(Saved(output)), sha256) << output;
  }

  void Check(const std::function<void()>& prepare) const {
    for (const auto& [output, command, sha256, by_core] : Cases()) {
      Check(command, output, sha256, prepare);
      if (by_core.empty()) continue;
      Arguments core = command;
      if (const auto report = std::find(core.begin(), core.end(), "--report"); report != core.end())
        core.erase(report, report + 2); // which names the command
      core.insert(core.end(), {"--head-fit", "markers", "--brows", "core"});
      Check(core, "core." + output, by_core, prepare);
    }
    // It names the version, the command, the hashes of what went in and came out, and all residuals.
    EXPECT_EQ(mien::Sha256(Saved("m.report.json")),
              "8563cc7a335f5cb57d9725fdd73b0d119bcc45c8e7680459bb83addc21e9d40f")
        << "m.report.json";
  }
};

} // namespace

TEST_F(SameBytes, InEveryBuild) {
  Check([] {});
}

// glibc then takes other forms of its functions, which round otherwise in the last place. Nothing else reads
// this.
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
