// Compares reading complete takes, and solving one from file to file, with the minimum and with common
// readers. Each form runs in a separate process, so that its memory and its peak are measured separately; the
// forms alternate, and the table has the medians. The program writes the files, which are in the page cache.
//
//   mien_reading FOLDER MIEN [TITLE]
//
// FOLDER is for the files, 1.3 GB; MIEN is the command; with TITLE, only the comparisons with it in their title run.

#include "host/character/arkit_names.h"
#include "host/files/mapped_file.h"
#include "host/formats/c3d.h"
#include "host/formats/read_take.h"
#include "host/weights/read_weights.h"
#include "samples/synthetic_performance.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using mien::MappedFile;
using mien::Point;
using mien::Take;

constexpr int kRuns = 7;

/// The time and memory of one run.
struct Cost {
  double seconds = 0;
  double megabytes = 0; // the most memory that the process held, shared pages of the file included
  bool ran = false;
};

double Now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// Runs `work` in a separate process.
Cost Run(const std::function<void()>& work) {
  int ends[2];
  if (pipe(ends) != 0) return {};
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    const double start = Now();
    work();
    const double seconds = Now() - start;
    const bool told = write(ends[1], &seconds, sizeof seconds) == sizeof seconds;
    _exit(told ? 0 : 1);
  }
  close(ends[1]);
  Cost cost;
  cost.ran = read(ends[0], &cost.seconds, sizeof cost.seconds) == sizeof cost.seconds;
  close(ends[0]);
  int status = 0;
  rusage used{};
  wait4(child, &status, 0, &used);
  cost.ran &= status == 0;
  cost.megabytes = static_cast<double>(used.ru_maxrss) / 1024;
  return cost;
}

/// Runs a program; its total time counts.
Cost Execute(const std::vector<std::string>& arguments) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  std::fflush(nullptr);
  const double start = Now();
  const pid_t child = fork();
  if (child == 0) {
    execvp(argv[0], argv.data());
    _exit(1);
  }
  Cost cost;
  int status = 0;
  rusage used{};
  wait4(child, &status, 0, &used);
  cost.seconds = Now() - start;
  cost.megabytes = static_cast<double>(used.ru_maxrss) / 1024;
  cost.ran = status == 0;
  return cost;
}

/// Runs read_takes.py, which prints the seconds of only the reading, and the megabytes.
Cost RunPython(const std::string& arguments) {
  const std::string command =
      fmt::format("/usr/bin/python3 {}/read_takes.py {} 2>/dev/null", MIEN_BENCHMARKS_FOLDER, arguments);
  Cost cost;
  FILE* const output = popen(command.c_str(), "r");
  if (!output) return cost;
  cost.ran = std::fscanf(output, "%lf %lf", &cost.seconds, &cost.megabytes) == 2;
  cost.ran &= pclose(output) == 0;
  return cost;
}

// --- The minimum.

/// Maps the file and turns each point into three doubles and the fourth word.
void ConvertC3d(const fs::path& path, std::size_t points, std::size_t frames) {
  const MappedFile file(path);
  const char* at = file.Bytes().data() + 512 * (static_cast<unsigned char>(file.Bytes()[16]) +
                                                256 * static_cast<unsigned char>(file.Bytes()[17]) - 1);
  const std::unique_ptr<double[]> out(new double[points * frames * 4]);
  for (std::size_t i = 0; i < points * frames; ++i, at += 16) {
    float word[4];
    std::memcpy(word, at, sizeof word);
    for (std::size_t k = 0; k < 3; ++k) out[4 * i + k] = static_cast<double>(word[k]);
    out[4 * i + 3] = static_cast<double>(static_cast<int>(word[3]));
  }
  if (out[points * frames] == 12345.678) std::abort(); // so that the compiler does not remove it
}

/// The same, with a block of frames that is written again and again: no memory for the result.
void ConvertC3dInOneBlock(const fs::path& path, std::size_t points, std::size_t frames) {
  const MappedFile file(path);
  const char* at = file.Bytes().data() + 512 * (static_cast<unsigned char>(file.Bytes()[16]) +
                                                256 * static_cast<unsigned char>(file.Bytes()[17]) - 1);
  std::vector<double> block(64 * points * 4);
  double sum = 0; // so that the compiler does not remove what is overwritten
  for (std::size_t i = 0; i < points * frames; ++i, at += 16) {
    float word[4];
    std::memcpy(word, at, sizeof word);
    double* const to = &block[i * 4 % block.size()];
    for (std::size_t k = 0; k < 3; ++k) to[k] = static_cast<double>(word[k]);
    to[3] = static_cast<double>(static_cast<int>(word[3]));
    if (i % 1024 == 0) sum += block[i % block.size()];
  }
  if (sum == 12345.678) std::abort();
}

/// Maps the file and converts every field.
void ConvertCsv(const fs::path& path) {
  const MappedFile file(path);
  std::string_view text = file.Bytes();
  text.remove_prefix(text.find('\n') + 1);
  std::vector<double> numbers;
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at < end) {
    while (at < end && (*at == ' ' || *at == ',' || *at == '\n')) ++at;
    if (at == end) break;
    double value = 0;
    at = std::from_chars(at, end, value).ptr;
    numbers.push_back(value);
  }
  if (numbers.empty()) std::abort();
}

/// Maps the file and converts only the fields that a reader of landmarks wants; the others are skipped.
void ConvertLandmarkFields(const fs::path& path) {
  const MappedFile file(path);
  std::string_view text = file.Bytes();
  std::string_view header = text.substr(0, text.find('\n'));
  text.remove_prefix(header.size() + 1);
  std::vector<bool> wanted;
  while (!header.empty()) {
    std::string_view name = header.substr(0, header.find(','));
    header.remove_prefix(std::min(name.size() + 1, header.size()));
    name.remove_prefix(std::min(name.find_first_not_of(' '), name.size()));
    wanted.push_back(wanted.size() < 5 || name.starts_with("gaze_") || name.starts_with("X_") ||
                     name.starts_with("Y_") || name.starts_with("Z_"));
  }
  std::vector<double> numbers;
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at < end)
    for (std::size_t column = 0; column < wanted.size() && at < end; ++column) {
      while (at < end && *at == ' ') ++at;
      if (wanted[column]) {
        double value = 0;
        at = std::from_chars(at, end, value).ptr;
        numbers.push_back(value);
      } else {
        while (at < end && *at != ',' && *at != '\n') ++at;
      }
      ++at; // the comma, or the end of the line
    }
  if (numbers.empty()) std::abort();
}

/// The same for a table whose rows begin with a timecode.
void ConvertPhoneCsv(const fs::path& path) {
  const MappedFile file(path);
  std::string_view text = file.Bytes();
  text.remove_prefix(text.find('\n') + 1);
  std::vector<double> numbers;
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at < end) {
    while (at < end && *at != ',') ++at; // behind the timecode
    while (at < end && *at != '\n') {
      double value = 0;
      at = std::from_chars(at + 1, end, value).ptr;
      numbers.push_back(value);
    }
    ++at;
  }
  if (numbers.empty()) std::abort();
}

/// Takes a JSON parser's events and keeps the numbers' sum.
struct SumOfNumbers : nlohmann::json_sax<nlohmann::json> {
  double sum = 0;
  bool null() override { return true; }
  bool boolean(bool) override { return true; }
  bool number_integer(std::int64_t value) override { return Add(static_cast<double>(value)); }
  bool number_unsigned(std::uint64_t value) override { return Add(static_cast<double>(value)); }
  bool number_float(double value, const std::string&) override { return Add(value); }
  bool string(std::string&) override { return true; }
  bool binary(nlohmann::json::binary_t&) override { return true; }
  bool start_object(std::size_t) override { return true; }
  bool key(std::string&) override { return true; }
  bool end_object() override { return true; }
  bool start_array(std::size_t) override { return true; }
  bool end_array() override { return true; }
  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
    return false;
  }

private:
  bool Add(double value) {
    sum += value;
    return true;
  }
};

/// Maps the file and parses each line.
void ParseJsonLines(const fs::path& path) {
  const MappedFile file(path);
  std::string_view text = file.Bytes();
  SumOfNumbers numbers;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    if (!nlohmann::json::sax_parse(line, &numbers)) std::abort();
    text.remove_prefix(std::min(line.size() + 1, text.size()));
  }
  if (numbers.sum == 0) std::abort();
}

// --- The files.

/// A take of `points` markers: the sample performer's, forwards and backwards, and copies next to them; 1 %
/// are gaps.
Take MakeTake(std::size_t points, std::size_t frames) {
  const Take performed = mien::samples::FilmMarkers();
  const std::size_t known = performed.MarkerCount();
  std::vector<std::string> names;
  for (std::size_t m = 0; m < points; ++m)
    names.push_back(m < known ? performed.markers[m] : fmt::format("copy{}", m));
  Take take(std::move(names));
  take.rate = {120, 1};
  std::uint32_t random = 1;
  for (std::size_t f = 0; f < frames; ++f) {
    take.AddFrame(static_cast<std::int64_t>(f) + 1, static_cast<double>(f) / 120);
    const std::size_t round = 2 * (performed.FrameCount() - 1), step = f % round;
    const std::size_t from = std::min(step, round - step);
    for (std::size_t m = 0; m < points; ++m) {
      random = random * 1664525 + 1013904223;
      const Point* const p = performed.At(from, m % known);
      if (!p || random >> 24 < 3) continue; // 3 of 256
      take.Set(f, m, {p->x + 10.0 * static_cast<double>(m / known), p->y, p->z});
    }
  }
  return take;
}

void MakeC3d(const fs::path& path, std::size_t points, std::size_t frames) {
  if (fs::exists(path)) return;
  std::ofstream out(path, std::ios::binary);
  mien::WriteC3d(MakeTake(points, frames), out);
}

/// As trackers write it with all column groups: 714 columns, blanks before the names and fields.
void MakeLandmarkCsv(const fs::path& path, std::size_t frames) {
  if (fs::exists(path)) return;
  std::string header = "frame, face_id, timestamp, confidence, success";
  const auto add = [&](const std::string& name, std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < end; ++i) header += fmt::format(", {}_{}", name, i);
  };
  add("gaze", 0, 8);
  for (const char* name : {"eye_lmk_x", "eye_lmk_y", "eye_lmk_X", "eye_lmk_Y", "eye_lmk_Z"}) add(name, 0, 56);
  add("pose", 0, 6);
  for (const char* name : {"x", "y", "X", "Y", "Z"}) add(name, 0, 68);
  add("p", 0, 40);
  add("AU", 0, 35);
  std::ofstream out(path, std::ios::binary);
  out << header << '\n';
  std::uint32_t random = 1;
  for (std::size_t f = 0; f < frames; ++f) {
    std::string row = fmt::format("{}, 0, {:.3f}, 0.98, 1", f + 1, static_cast<double>(f) / 30);
    for (std::size_t c = 5; c < 714; ++c) {
      random = random * 1664525 + 1013904223;
      const double value = static_cast<double>(random >> 8) / 16777216.0 * 1000 - 300;
      row += c < 13 || c >= 639 ? fmt::format(", {:.3f}", value / 300) : fmt::format(", {:.1f}", value);
    }
    out << row << '\n';
  }
}

/// The sample performer's face mesh forwards and backwards, 478 points as parts of the image.
class MeshFrames {
public:
  /// Calls `add` with each coordinate of a frame.
  template <typename Add>
  void Each(std::size_t frame, const Add& add) const {
    const std::size_t round = 2 * (mesh_.FrameCount() - 1), step = frame % round;
    const std::size_t from = std::min(step, round - step);
    for (std::size_t i = 0; i < mesh_.MarkerCount(); ++i) {
      const Point& p = *mesh_.At(from, i);
      add(i, 0.5 + p.x / 640, 0.5 - p.y / 360, -p.z / 640);
    }
  }

private:
  Take mesh_ = mien::samples::FilmMesh();
};

/// As scripts write it: x_0,y_0,z_0,... with six decimals.
void MakeMeshCsv(const fs::path& path, std::size_t frames) {
  if (fs::exists(path)) return;
  std::ofstream out(path, std::ios::binary);
  out << "frame,timestamp_ms";
  for (std::size_t i = 0; i < 478; ++i) out << fmt::format(",x_{0},y_{0},z_{0}", i);
  out << '\n';
  const MeshFrames mesh;
  for (std::size_t f = 0; f < frames; ++f) {
    std::string row = fmt::format("{},{:.3f}", f, static_cast<double>(f) * 1000 / 30);
    mesh.Each(f, [&row](std::size_t, double x, double y, double z) {
      fmt::format_to(std::back_inserter(row), ",{:.6f},{:.6f},{:.6f}", x, y, z);
    });
    out << row << '\n';
  }
}

/// As phone apps write it: a timecode, the number of columns, 52 weights and 9 angles with ten decimals.
void MakePhoneCsv(const fs::path& path, std::size_t frames) {
  if (fs::exists(path)) return;
  std::ofstream out(path, std::ios::binary);
  out << "Timecode,BlendShapeCount";
  for (const std::string_view name : mien::kArkitNames) out << ',' << name;
  out << ",HeadYaw,HeadPitch,HeadRoll,LeftEyeYaw,LeftEyePitch,LeftEyeRoll,RightEyeYaw,RightEyePitch,"
         "RightEyeRoll\n";
  std::uint32_t random = 1;
  for (std::size_t f = 0; f < frames; ++f) {
    std::string row =
        fmt::format("{:02}:{:02}:{:02}:{:02}.500,61", f / 216000, f / 3600 % 60, f / 60 % 60, f % 60);
    for (std::size_t c = 0; c < 61; ++c) {
      random = random * 1664525 + 1013904223;
      fmt::format_to(std::back_inserter(row), ",{:.10f}", static_cast<double>(random >> 8) / 16777216.0);
    }
    out << row << '\n';
  }
}

/// Results one after the other, with all the digits of a float, as programs that do not round them write.
void MakeMeshJson(const fs::path& path, std::size_t frames) {
  if (fs::exists(path)) return;
  std::ofstream out(path, std::ios::binary);
  const MeshFrames mesh;
  for (std::size_t f = 0; f < frames; ++f) {
    std::string result =
        fmt::format(R"({{"timestampMs":{:.3f},"faceLandmarks":[[)", static_cast<double>(f) * 1000 / 30);
    mesh.Each(f, [&result](std::size_t i, double x, double y, double z) {
      fmt::format_to(std::back_inserter(result), R"({}{{"x":{},"y":{},"z":{}}})", i > 0 ? "," : "",
                     static_cast<float>(x), static_cast<float>(y), static_cast<float>(z));
    });
    out << result << "]]}\n";
  }
}

// --- The table.

struct Form {
  std::string name;
  std::function<Cost()> run;
  std::vector<Cost> costs = {};

  std::optional<Cost> Median() const {
    if (costs.empty() || !costs[0].ran) return std::nullopt;
    std::vector<Cost> sorted = costs;
    std::sort(sorted.begin(), sorted.end(),
              [](const Cost& a, const Cost& b) { return a.seconds < b.seconds; });
    return sorted[sorted.size() / 2];
  }
};

/// The first form is the library's. `wanted` is a part of the titles that are compared.
void Compare(const std::string& title, const std::string& wanted, std::vector<Form> forms) {
  if (title.find(wanted) == std::string::npos) return;
  for (int run = 0; run < kRuns; ++run)
    for (Form& form : forms)
      if (run == 0 || form.costs[0].ran) form.costs.push_back(form.run());
  fmt::print("\n{}\n  {:<34} {:>9} {:>9} {:>10}\n", title, "", "seconds", "of it", "memory MB");
  const std::optional<Cost> ours = forms[0].Median();
  for (const Form& form : forms)
    if (const auto cost = form.Median())
      fmt::print("  {:<34} {:>9.3f} {:>9.2f} {:>10.0f}\n", form.name, cost->seconds,
                 ours ? ours->seconds / cost->seconds : 0.0, cost->megabytes);
    else
      fmt::print("  {:<34} {:>9}\n", form.name, "failed");
  std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
  if (argc != 3 && argc != 4) {
    fmt::print(stderr, "usage: mien_reading FOLDER MIEN [TITLE]\n");
    return 2;
  }
  const std::string wanted = argc == 4 ? argv[3] : "";
  const fs::path folder = argv[1];
  fs::create_directories(folder);
  const auto read = [](const fs::path& path) {
    return Run([path] {
      if (mien::ReadTake(path).FrameCount() == 0) std::abort();
    });
  };
  fmt::print(
      "Medians of {} runs, each in a process of its own. \"of it\": mien's time as a part of this one's.\n",
      kRuns);

  for (const auto& [points, frames] : {std::pair<std::size_t, std::size_t>{160, 36000}, {1300, 17000}}) {
    const fs::path path = folder / fmt::format("{}x{}.c3d", points, frames);
    if (!fs::exists(path)) Run([&] { MakeC3d(path, points, frames); });
    Compare(fmt::format("C3D, {} markers x {} frames, {:.0f} MB", points, frames,
                        static_cast<double>(fs::file_size(path)) / 1e6),
            wanted,
            {{"mien", [&] { return read(path); }},
             {"mien, 2 threads",
              [&] {
                return Run([&] {
                  if (mien::ReadTake(path, {.threads = 2}).FrameCount() == 0) std::abort();
                });
              }},
             {"mmap and convert", [&] { return Run([&] { ConvertC3d(path, points, frames); }); }},
             {"the same, in one block (the floor)",
              [&] { return Run([&] { ConvertC3dInOneBlock(path, points, frames); }); }},
             {"numpy.fromfile",
              [&] { return RunPython(fmt::format("c3d {} {} {}", path.string(), points, frames)); }}});
  }
  const fs::path csv = folder / "landmarks.csv";
  constexpr std::size_t kRows = 18000;
  if (!fs::exists(csv)) Run([&] { MakeLandmarkCsv(csv, kRows); });
  Compare(
      fmt::format("Landmark CSV, {} rows x 714 columns, {:.0f} MB", kRows,
                  static_cast<double>(fs::file_size(csv)) / 1e6),
      wanted,
      {{"mien", [&] { return read(csv); }},
       {"mmap and from_chars of all fields", [&] { return Run([&] { ConvertCsv(csv); }); }},
       {"the same of the fields mien reads", [&] { return Run([&] { ConvertLandmarkFields(csv); }); }},
       {"pandas.read_csv", [&] { return RunPython(fmt::format("csv {}", csv.string())); }},
       {"the same, of these fields", [&] { return RunPython(fmt::format("landmarks {}", csv.string())); }}});

  const fs::path mesh_csv = folder / "mesh.csv";
  if (!fs::exists(mesh_csv)) Run([&] { MakeMeshCsv(mesh_csv, kRows); });
  Compare(fmt::format("Mesh CSV, {} rows x 1,434 coordinates, {:.0f} MB", kRows,
                      static_cast<double>(fs::file_size(mesh_csv)) / 1e6),
          wanted,
          {{"mien", [&] { return read(mesh_csv); }},
           {"mmap and from_chars of all fields", [&] { return Run([&] { ConvertCsv(mesh_csv); }); }},
           {"pandas.read_csv", [&] { return RunPython(fmt::format("csv {}", mesh_csv.string())); }}});
  const fs::path phone_csv = folder / "phone.csv";
  constexpr std::size_t kPhoneRows = 36000;
  if (!fs::exists(phone_csv)) Run([&] { MakePhoneCsv(phone_csv, kPhoneRows); });
  Compare(fmt::format("Phone CSV, {} rows x 63 columns, {:.0f} MB", kPhoneRows,
                      static_cast<double>(fs::file_size(phone_csv)) / 1e6),
          wanted,
          {{"mien",
            [&] {
              return Run([&] {
                const MappedFile file(phone_csv);
                if (mien::ReadWeights(file.Bytes(), "phone.csv").frames.size() != kPhoneRows) std::abort();
              });
            }},
           {"mmap and from_chars of all fields", [&] { return Run([&] { ConvertPhoneCsv(phone_csv); }); }},
           {"pandas.read_csv", [&] { return RunPython(fmt::format("csv {}", phone_csv.string())); }}});
  // Twice as many frames show whether the memory grows by more than the take's.
  for (const std::size_t frames : {kRows / 2, kRows}) {
    const fs::path json = folder / fmt::format("mesh_{}.json", frames);
    if (!fs::exists(json)) Run([&] { MakeMeshJson(json, frames); });
    Compare(fmt::format("Mesh JSON, {} results of 478 landmarks, {:.0f} MB", frames,
                        static_cast<double>(fs::file_size(json)) / 1e6),
            wanted,
            {{"mien", [&] { return read(json); }},
             {"mmap and the parser alone", [&] { return Run([&] { ParseJsonLines(json); }); }},
             {"Python's json.loads", [&] { return RunPython(fmt::format("json {}", json.string())); }}});
  }

  // What users wait for: from file to weights.
  const std::vector<std::string> markers = {"160x36000.c3d", "-p",
                                            MIEN_SAMPLES_FOLDER "/markers.performer.json"},
                                 landmarks = {"landmarks.csv", "-p", "landmarks68"};
  std::vector<Form> solves;
  for (const auto* take : {&markers, &landmarks})
    for (const char* threads : {"1", "2"}) {
      std::vector<std::string> command = {argv[2], "solve", folder / take->front(), "-q", "--threads",
                                          threads, "-o",    folder / "weights.csv"};
      command.insert(command.end(), take->begin() + 1, take->end());
      solves.push_back(
          {fmt::format("{}, threads: {}", take->front(), threads), [command] { return Execute(command); }});
    }
  Compare("mien solve to CSV", wanted, std::move(solves));
  return 0;
}
