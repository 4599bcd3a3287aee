// Times what a take goes through before its faces are solved: its rigid head is learned, the neutral face is
// found, and the head is tracked; and the fit of a head by itself, one frame after another and several at
// once. The takes are those of samples/, repeated. Nothing is timed unless both forms of the fit give the
// same.
//
//   mien_head

#include "host/cleaning/rigid_fits.h"
#include "host/performer/neutral.h"
#include "host/performer/neutral_head.h"
#include "host/performer/performer_file.h"
#include "host/performer/rigid_head.h"
#include "host/solve/head_track.h"
#include "host/takes/marker_indices.h"
#include "samples/synthetic_performance.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <functional>
#include <optional>
#include <vector>

namespace {

using mien::RigidBody;
using mien::Take;

constexpr std::size_t kTimes = 50; // 10 minutes at 30 Hz
constexpr int kRuns = 9;

Take Repeated(const Take& take) {
  Take repeated(take.markers);
  repeated.rate = take.rate;
  for (std::size_t f = 0; f < kTimes * take.FrameCount(); ++f) {
    const auto number = static_cast<std::int64_t>(f);
    repeated.AddFrame(number, take.rate.Seconds(number));
    for (std::size_t m = 0; m < take.MarkerCount(); ++m)
      if (const mien::Point* const p = take.At(f % take.FrameCount(), m)) repeated.Set(f, m, *p);
  }
  return repeated;
}

/// The median over the runs, in microseconds of processor time per frame.
double Time(const Take& take, const std::function<void()>& run) {
  std::vector<double> times;
  for (int i = 0; i < kRuns; ++i) {
    const std::clock_t start = std::clock();
    run();
    times.push_back(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC /
                    static_cast<double>(take.FrameCount()) * 1e6);
  }
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

std::vector<RigidBody::Points> FramesOf(const Take& take, const std::vector<std::string>& markers) {
  const std::vector<std::size_t> indices = MarkerIndices(take, markers);
  std::vector<RigidBody::Points> frames(take.FrameCount(), RigidBody::Points(indices.size()));
  for (std::size_t f = 0; f < frames.size(); ++f)
    for (std::size_t i = 0; i < indices.size(); ++i)
      if (const mien::Point* const p = take.At(f, indices[i])) frames[f][i] = *p;
  return frames;
}

/// False if the two forms of the fit differ.
bool TimeTake(const char* name, const Take& take, const mien::Performer& performer) {
  const mien::RigidHead rigid = LearnRigidHead(take, performer).value();
  const mien::NeutralPose neutral = FindNeutral(take, performer, std::nullopt, &rigid).pose;
  const std::vector<RigidBody::Points> frames = FramesOf(take, rigid.markers);
  std::vector<std::optional<VgeAMatrix>> one(frames.size()), many(frames.size());
  const auto fit_each = [&] {
    mien::RigidFit fit(rigid.body);
    for (std::size_t f = 0; f < frames.size(); ++f) one[f] = fit.Solve(frames[f]);
  };
  const auto fit_many = [&] {
    mien::RigidFits fits(rigid.body, [&](std::size_t f, const auto& motion) { many[f] = motion; });
    for (std::size_t f = 0; f < frames.size(); ++f) fits.Add(f, frames[f]);
    fits.Finish();
  };
  fit_each(), fit_many();
  if (one != many) {
    std::fprintf(stderr, "%s: the two forms of the fit differ; nothing was timed\n", name);
    return false;
  }
  const double learned = Time(take, [&] { LearnRigidHead(take, performer); });
  const double found = Time(take, [&] { FindNeutral(take, performer, std::nullopt, &rigid); });
  const double tracked = Time(take, [&] {
    const mien::HeadSolver head(performer, neutral, NeutralHead(performer, neutral), &rigid);
    TrackHead(take, head, {});
  });
  std::printf("| %s, %zu rigid | %.2f | %.2f | %.2f | %.3f | %.3f |\n", name, rigid.markers.size(), learned,
              found, tracked, Time(take, fit_each), Time(take, fit_many));
  return true;
}

} // namespace

int main() {
  using namespace mien::samples;
  std::printf("| us per frame | learned | neutral face | head track | fit of one frame | of many |\n"
              "|---|---:|---:|---:|---:|---:|\n");
  bool are_same = TimeTake("50 markers", Repeated(FilmMarkers()), MarkerPerformer());
  are_same =
      TimeTake("68 landmarks", Repeated(FilmLandmarks()), mien::LoadPerformer("landmarks68")) && are_same;
  are_same = TimeTake("478 landmarks", Repeated(FilmMesh()), mien::LoadPerformer("landmarks478")) && are_same;
  return are_same ? 0 : 1;
}
