// How long the live core takes for a frame, from what a source delivers to the shapes of arkit52, with its
// recording off: a phone's 52 weights, 68 landmarks solved by parts and by the fit, 478 landmarks. "learning": the
// neutral face is learned from the first two seconds, in the longest frame.
//
//   mien_live [FRAMES]
//
// Landmarks are those of samples/landmarks.csv, and for 478 random walks around the five frames of
// samples/mesh/wide.csv, played again and again. Prints the median, the 99th percentile and the
// longest time.

#include "host/character/arkit_names.h"
#include "host/character/character_file.h"
#include "host/files/read_file.h"
#include "host/formats/read_take.h"
#include "host/live/live_session.h"
#include "host/performer/performer_file.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace {

using mien::LiveInput;
using mien::LiveKind;
using mien::LiveSession;
using mien::LiveSetup;
using mien::Take;

Take Sample(const std::string& name, const mien::ReadOptions& options = {}) {
  const std::string path = std::string(MIEN_SAMPLES_FOLDER) + "/" + name;
  return mien::ReadTake(mien::ReadFile(path), path, options);
}

LiveSetup SetupOf(const std::string& performer, const Take& neutral, mien::ShapeSolver solver) {
  LiveSetup setup;
  setup.character = std::make_shared<const mien::Character>(mien::LoadCharacter("arkit52"));
  setup.map = std::make_shared<const mien::WeightMap>(mien::LoadWeightMap("arkit52"));
  setup.causal.solver = solver;
  if (performer.empty()) return setup;
  setup.performer = std::make_shared<const mien::Performer>(mien::LoadPerformer(performer));
  setup.neutral_take = std::make_shared<const Take>(neutral);
  return setup;
}

/// Feeds frames at 60 a second of the source's clock, and prints how long each took. `fill(frame, input)`
/// sets the numbers.
template <class Fill>
void Measure(const char* what, const mien::LiveSource& source, const LiveSetup& setup, int frames,
             Fill fill) {
  double sum = 0; // of what comes out, so that nothing is left out
  LiveSession session([&](const mien::LiveOutput& output) { sum += output.shapes[0]; });
  const std::size_t face = session.AddFace(source, setup);
  LiveInput input;
  input.face = face;
  std::vector<double> microseconds;
  for (int f = 0; f < frames; ++f) {
    fill(f, input);
    input.arrival_s = f / 60.0;
    const auto start = std::chrono::steady_clock::now();
    session.Feed(input);
    microseconds.push_back(
        std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
  }
  std::sort(microseconds.begin(), microseconds.end());
  const auto at = [&](double share) {
    return microseconds[static_cast<std::size_t>(share * static_cast<double>(microseconds.size() - 1))];
  };
  double total = 0;
  for (const double time : microseconds) total += time;
  std::printf(
      "%-30s median %8.1f us   99 %% %8.1f us   longest %8.1f us   %8.0f frames a second   (sum %.6g)\n",
      what, at(0.5), at(0.99), microseconds.back(), 1e6 * static_cast<double>(microseconds.size()) / total,
      sum);
}

/// `learns`: the neutral face is learned from the first two seconds, so the longest frame is the one in which it is.
void MeasureMarkers(const char* what, const std::string& performer, const Take& take,
                    mien::ShapeSolver solver, int frames, bool learns = false) {
  LiveSetup setup = SetupOf(performer, take, solver);
  if (learns) setup.neutral_take = nullptr;
  Measure(what, {.name = what, .kind = LiveKind::Markers, .names = take.markers}, setup, frames,
          [&](int f, LiveInput& input) {
            const std::size_t frame = static_cast<std::size_t>(f) % take.FrameCount();
            input.markers.resize(take.MarkerCount());
            for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
              const mien::Point* const p = take.At(frame, m);
              input.markers[m] = p ? std::optional(*p) : std::nullopt;
            }
          });
}

/// Frames around those of a take, with the noise of a tracker.
Take Noisy(const Take& take, std::size_t frames) {
  std::mt19937_64 random(1);
  Take noisy(take.markers);
  noisy.name = "noisy";
  noisy.rate = {60, 1};
  for (std::size_t f = 0; f < frames; ++f) {
    noisy.AddFrame(static_cast<std::int64_t>(f) + 1, static_cast<double>(f) / 60);
    const std::size_t from = f * take.FrameCount() / frames;
    for (std::size_t m = 0; m < take.MarkerCount(); ++m)
      if (const mien::Point* const p = take.At(from, m)) {
        const auto noise = [&] { return static_cast<double>(random() % 1000) / 5000 - 0.1; };
        noisy.Set(f, m, {p->x + noise(), p->y + noise(), p->z + noise()});
      }
  }
  return noisy;
}

} // namespace

int main(int count, char** arguments) {
  const int frames = count > 1 ? std::atoi(arguments[1]) : 3600;
  const std::vector<std::string> names(mien::kArkitNames.begin(), mien::kArkitNames.end());
  Measure("52 weights of a phone", {.name = "phone", .kind = LiveKind::Weights, .names = names},
          SetupOf("", {}, mien::ShapeSolver::Parts), frames, [&](int f, LiveInput& input) {
            input.weights.resize(names.size());
            for (std::size_t i = 0; i < names.size(); ++i)
              input.weights[i] = 0.5 + 0.5 * std::sin(0.01 * static_cast<double>(i) * f);
          });
  const Take landmarks = Sample("landmarks.csv");
  MeasureMarkers("68 landmarks, parts", "landmarks68", landmarks, mien::ShapeSolver::Parts, frames);
  MeasureMarkers("68 landmarks, fit", "landmarks68", landmarks, mien::ShapeSolver::Fit, frames);
  MeasureMarkers("68 landmarks, parts, learning", "landmarks68", landmarks, mien::ShapeSolver::Parts, frames,
                 true);
  MeasureMarkers("68 landmarks, fit, learning", "landmarks68", landmarks, mien::ShapeSolver::Fit, frames,
                 true);
  mien::ReadOptions image;
  image.mesh.image = mien::ImageSize{1280, 720};
  const Take mesh = Noisy(Sample("mesh/wide.csv", image), 300);
  MeasureMarkers("478 landmarks, parts", "landmarks478", mesh, mien::ShapeSolver::Parts, frames);
  MeasureMarkers("478 landmarks, fit", "landmarks478", mesh, mien::ShapeSolver::Fit, frames);
  MeasureMarkers("478 landmarks, parts, learning", "landmarks478", mesh, mien::ShapeSolver::Parts, frames,
                 true);
  MeasureMarkers("478 landmarks, fit, learning", "landmarks478", mesh, mien::ShapeSolver::Fit, frames, true);
}
