#pragma once

// Appends to a GLB: data at the end of its buffer 0, objects at the ends of its lists. What is there stays
// unchanged and in place, so that indices into it remain valid.

#include "host/base/error.h"
#include "host/gltf/glb.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace mien {

/// What an element of an accessor is made of.
enum class ElementType { Scalar, Vec3, Vec4 };

/// What a buffer view is for, as glTF numbers it: views of mesh data state it, views of animation data do
/// not.
enum class ViewTarget { None = 0, Vertices = 34962, Indices = 34963 };

/// Whether an accessor states the least and the largest value of each component, as accessors of positions
/// and times must.
enum class Bounds { Without, With };

/// Appends to the list under `key`, which is made where it is missing, and answers the index of the new
/// element.
std::size_t AppendTo(Glb& glb, const char* key, nlohmann::ordered_json element);

/// Appends a buffer view of these floats and its accessor, and answers the accessor's index. `values`:
/// element by element, finite; at least one element for Bounds::With. There must be a buffer 0, which holds
/// all of `glb.binary`.
std::size_t AppendFloats(Glb& glb, std::span<const float> values, ElementType type, Bounds bounds,
                         ViewTarget target = ViewTarget::None);

/// The same for `rows` of `row_size` floats, whole elements, which `fill(row, values)` writes one after the other:
/// for curves, which grow with a recording.
std::size_t AppendRows(Glb& glb, std::size_t rows, std::size_t row_size, ElementType type,
                       const std::function<void(std::size_t row, std::span<float> values)>& fill);

/// The same as AppendFloats for the vertex indices of triangles.
std::size_t AppendIndices(Glb& glb, std::span<const std::uint16_t> indices);

/// Normalised integers, which stand for numbers from -1 to 1: a short for 32767 steps, a byte for 127. Of
/// the format's extension KHR_mesh_quantization, which the caller has to declare.
enum class Packed { Byte = 5120, Short = 5122 };

/// The same for vectors of three numbers from -1 to 1, as vertex data.
std::size_t AppendPacked(Glb& glb, std::span<const float> values, Packed packed, Bounds bounds);

/// The same for colours of vertices: red, green, blue and alpha, linear.
std::size_t AppendColours(Glb& glb, std::span<const std::uint8_t> rgba);

/// The elements of a sparse accessor that are not 0, as a buffer view of their ascending indices, which
/// accessors can share.
struct SparseIndices {
  std::size_t view = 0;
  std::vector<std::uint16_t> indices;
};
SparseIndices AppendSparseIndices(Glb& glb, std::vector<std::uint16_t> indices);

/// As AppendPacked, but stores only these elements of `values`; the others are 0. Without any, no data at
/// all.
std::size_t AppendSparse(Glb& glb, std::span<const float> values, const SparseIndices& elements,
                         Packed packed, Bounds bounds);

/// Throws InputError where a GLB that was read cannot be appended to: a list is not an array, or buffer 0 is
/// not, or not completely, in the file.
void CheckAppendable(const Glb& glb);

/// A note on the files beside a GLB that it refers to, and that a copy of it elsewhere would miss; nothing
/// where there are none.
std::optional<Note> NoteOnFilesBeside(const Glb& glb);

} // namespace mien
