#pragma once

// Appending to a GLB: data at the end of its buffer 0, objects at the ends of its lists. What was there stays where and as
// it was, so that indices into it remain right.

#include "host/base/error.h"
#include "host/gltf/glb.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace mien {

/// What an element of an accessor is made of.
enum class ElementType { Scalar, Vec3, Vec4 };

/// What a buffer view is for, as glTF numbers it: the data of meshes says so, that of animations does not.
enum class ViewTarget { None = 0, Vertices = 34962, Indices = 34963 };

/// Whether an accessor states the least and the largest value of each component: those of positions and of times must.
enum class Bounds { Without, With };

/// Appends to the list under `key`, which is made where it is missing, and answers the index of the new element.
std::size_t AppendTo(Glb& glb, const char* key, nlohmann::ordered_json element);

/// Appends a buffer view of these floats and its accessor, and answers the accessor's index. `values`: element by element,
/// finite; at least one element for Bounds::With. There must be a buffer 0, which holds all of `glb.binary`.
std::size_t AppendFloats(Glb& glb, std::span<const float> values, ElementType type, Bounds bounds,
                         ViewTarget target = ViewTarget::None);

/// The same for the vertex indices of triangles.
std::size_t AppendIndices(Glb& glb, std::span<const std::uint16_t> indices);

/// Throws InputError where a GLB that was read cannot be appended to: what should be a list is none, or buffer 0 is not in
/// the file, or not all of it.
void CheckAppendable(const Glb& glb);

/// A note on the files beside a GLB that it refers to, and that a copy of it elsewhere would miss; nothing where there are none.
std::optional<Note> NoteOnFilesBeside(const Glb& glb);

} // namespace mien
