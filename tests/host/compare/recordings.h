#pragma once

#include "host/compare/recording.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// An animation of `frames` frames at this rate, numbered from `first`, with times from 0.
inline mien::Recording Frames(std::size_t frames, const mien::FrameRate& rate = {30, 1},
                              std::int64_t first = 1) {
  mien::Recording recording;
  recording.file = "r.csv";
  recording.name = "r";
  recording.rate = rate;
  for (std::size_t f = 0; f < frames; ++f) {
    recording.frames.push_back(first + static_cast<std::int64_t>(f));
    recording.times.push_back(rate.Seconds(static_cast<std::int64_t>(f)));
  }
  return recording;
}

/// The same with a weight, whose value `of` computes from the frame, counted from 0.
template <class Of>
mien::Recording Weight(mien::Recording recording, const std::string& name, const Of& of) {
  mien::Curve curve = {"Shapes", name, "", {}};
  for (std::size_t f = 0; f < recording.frames.size(); ++f)
    curve.values.push_back(of(static_cast<double>(f)));
  recording.curves.push_back(std::move(curve));
  return recording;
}

/// The same with a timecode of its first frame.
inline mien::Recording At(mien::Recording recording, const std::string& timecode) {
  recording.timecode = mien::ParseTimecode(timecode, recording.rate);
  return recording;
}
