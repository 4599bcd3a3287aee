#pragma once

// Handles of the C interface that free themselves, and calls that expect to succeed or to fail.

#include "host/c_interface/mien_host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tests {

template <auto Free>
struct Freed {
  template <class Handle>
  void operator()(Handle* handle) const {
    EXPECT_EQ(Free(handle), MIEN_OK);
  }
};
using Messages = std::unique_ptr<mien_messages, Freed<mien_messages_free>>;
using Text = std::unique_ptr<mien_text, Freed<mien_text_free>>;
using Settings = std::unique_ptr<mien_settings, Freed<mien_settings_free>>;
using TakeHandle = std::unique_ptr<mien_take, Freed<mien_take_free>>;
using PerformerHandle = std::unique_ptr<mien_performer, Freed<mien_performer_free>>;
using CharacterHandle = std::unique_ptr<mien_character, Freed<mien_character_free>>;
using AnimationHandle = std::unique_ptr<mien_animation, Freed<mien_animation_free>>;
using FrameSolverHandle = std::unique_ptr<mien_frame_solver, Freed<mien_frame_solver_free>>;
using LiveHandle = std::unique_ptr<mien_live, Freed<mien_live_free>>;

/// The errors of a call, given as `errors`.
class Errors {
public:
  ~Errors() { mien_messages_free(list_); }
  operator mien_messages**() { // for the next call
    mien_messages_free(std::exchange(list_, nullptr));
    return &list_;
  }
  mien_status Status() const { return mien_messages_status(list_); }
  std::string AllText() const { return mien_messages_text(list_); }
  mien_message At(std::size_t index) const {
    mien_message message = {};
    message.struct_size = sizeof message;
    EXPECT_EQ(mien_messages_get(list_, index, &message), MIEN_OK);
    return message;
  }

private:
  mien_messages* list_ = nullptr;
};

/// Settings of a step with options and their values.
inline Settings SettingsOf(mien_step step, const std::vector<std::pair<std::string, std::string>>& options) {
  Errors errors;
  Settings settings(mien_settings_new(step, errors));
  for (const auto& [name, value] : options)
    EXPECT_EQ(mien_settings_add(settings.get(), name.c_str(), value.c_str(), errors), MIEN_OK)
        << errors.AllText();
  return settings;
}

inline TakeHandle ReadTake(const std::string& path) {
  Errors errors;
  TakeHandle take(mien_take_read(path.c_str(), nullptr, nullptr, errors));
  EXPECT_TRUE(take) << errors.AllText();
  return take;
}

inline PerformerHandle LoadPerformer(const std::string& name) {
  Errors errors;
  PerformerHandle performer(mien_performer_load(name.c_str(), errors));
  EXPECT_TRUE(performer) << errors.AllText();
  return performer;
}

/// Null for an empty name.
inline CharacterHandle LoadCharacter(const std::string& name) {
  if (name.empty()) return nullptr;
  Errors errors;
  CharacterHandle character(mien_character_load(name.c_str(), errors));
  EXPECT_TRUE(character) << errors.AllText();
  return character;
}

inline AnimationHandle Solve(const TakeHandle& take, const PerformerHandle& performer,
                             const CharacterHandle& character = nullptr, const Settings& settings = nullptr) {
  Errors errors;
  AnimationHandle animation(
      mien_solve(take.get(), performer.get(), character.get(), settings.get(), nullptr, errors));
  EXPECT_TRUE(animation) << errors.AllText();
  return animation;
}

inline mien_array EmptyArray() {
  mien_array array = {};
  array.struct_size = sizeof array;
  return array;
}

inline mien_array ArrayOf(const TakeHandle& take, mien_take_array which) {
  Errors errors;
  mien_array array = EmptyArray();
  EXPECT_EQ(mien_take_get_array(take.get(), which, &array, errors), MIEN_OK) << errors.AllText();
  return array;
}

inline mien_array ArrayOf(const AnimationHandle& animation, mien_animation_array which) {
  Errors errors;
  mien_array array = EmptyArray();
  EXPECT_EQ(mien_animation_get_array(animation.get(), which, &array, errors), MIEN_OK) << errors.AllText();
  return array;
}

inline mien_array ArrayOf(const FrameSolverHandle& solver, mien_frame_array which) {
  Errors errors;
  mien_array array = EmptyArray();
  EXPECT_EQ(mien_frame_solver_get_array(solver.get(), which, &array, errors), MIEN_OK) << errors.AllText();
  return array;
}

/// The arrays of a frame, and those of an animation that have them by frame.
inline const std::vector<std::pair<mien_frame_array, mien_animation_array>> kFrameArrays = {
    {MIEN_FRAME_WEIGHTS, MIEN_ANIMATION_WEIGHTS},
    {MIEN_FRAME_SHAPE_WEIGHTS, MIEN_ANIMATION_SHAPE_WEIGHTS},
    {MIEN_FRAME_HEAD, MIEN_ANIMATION_HEADS},
    {MIEN_FRAME_HEAD_MOTION, MIEN_ANIMATION_HEAD_MOTION},
    {MIEN_FRAME_EYES, MIEN_ANIMATION_EYES},
    {MIEN_FRAME_LOCAL_TRANSLATIONS, MIEN_ANIMATION_LOCAL_TRANSLATIONS},
    {MIEN_FRAME_LOCAL_ROTATIONS, MIEN_ANIMATION_LOCAL_ROTATIONS},
    {MIEN_FRAME_LOCAL_SCALES, MIEN_ANIMATION_LOCAL_SCALES},
    {MIEN_FRAME_GLOBAL_TRANSLATIONS, MIEN_ANIMATION_GLOBAL_TRANSLATIONS},
    {MIEN_FRAME_GLOBAL_ROTATIONS, MIEN_ANIMATION_GLOBAL_ROTATIONS},
    {MIEN_FRAME_GLOBAL_SCALES, MIEN_ANIMATION_GLOBAL_SCALES}};

/// An element of an array.
template <class Value>
Value At(const mien_array& array, const std::vector<std::size_t>& index) {
  EXPECT_EQ(static_cast<std::size_t>(array.dimensions), index.size());
  const char* at = static_cast<const char*>(array.data);
  for (std::size_t i = 0; i < index.size(); ++i) {
    EXPECT_LT(index[i], array.shape[i]);
    at += static_cast<std::ptrdiff_t>(index[i]) * array.strides[i];
  }
  Value value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

/// One frame of an array whose first axis is frames.
inline mien_array FrameOf(mien_array array, std::size_t frame) {
  array.data = static_cast<const char*>(array.data) + static_cast<std::ptrdiff_t>(frame) * array.strides[0];
  --array.dimensions;
  std::copy(array.shape + 1, array.shape + 4, array.shape);
  std::copy(array.strides + 1, array.strides + 4, array.strides);
  return array;
}

/// All elements of an array of doubles, the last axis first.
inline std::vector<double> ValuesOf(const mien_array& array) {
  std::vector<double> values;
  const auto add = [&](const auto& self, const char* at, int axis) -> void {
    if (axis == array.dimensions) {
      double value = 0;
      std::memcpy(&value, at, sizeof value);
      values.push_back(value);
      return;
    }
    for (std::size_t i = 0; i < array.shape[axis]; ++i)
      self(self, at + static_cast<std::ptrdiff_t>(i) * array.strides[axis], axis + 1);
  };
  if (array.data) add(add, static_cast<const char*>(array.data), 0);
  return values;
}

inline std::vector<std::size_t> ShapeOf(const mien_array& array) {
  return {array.shape, array.shape + array.dimensions};
}

} // namespace tests
