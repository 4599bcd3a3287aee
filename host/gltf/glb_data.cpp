#include "host/gltf/glb_data.h"

#include "host/base/text.h"
#include "host/gltf/json_at.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace mien {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kFloat = 5126, kUnsignedByte = 5121, kUnsignedShort = 5123; // component types
constexpr std::string_view kOneFile = "export it again as one .glb";

struct ElementName {
  const char* name;
  std::size_t size; // components
};

ElementName NameOf(ElementType type) {
  switch (type) {
  case ElementType::Scalar:
    return {"SCALAR", 1};
  case ElementType::Vec3:
    return {"VEC3", 3};
  case ElementType::Vec4:
    break;
  }
  return {"VEC4", 4};
}

void AppendNumber(std::string& bytes, std::uint32_t number, int size) {
  for (int byte = 0; byte < size; ++byte) bytes.push_back(static_cast<char>(number >> 8 * byte & 0xFF));
}

/// A view of the next `length` bytes of the data, which the caller appends. `stride`: bytes from an element to
/// the next; 0 where they are as long as they need.
std::size_t BeginView(Glb& glb, std::size_t length, ViewTarget target, std::size_t stride = 0) {
  glb.binary.resize((glb.binary.size() + 3) / 4 * 4);
  Json view = {{"buffer", 0}, {"byteOffset", glb.binary.size()}, {"byteLength", length}};
  if (stride > 0) view["byteStride"] = stride;
  if (target != ViewTarget::None) view["target"] = static_cast<int>(target);
  glb.json["buffers"][0]["byteLength"] = glb.binary.size() + length;
  return AppendTo(glb, "bufferViews", std::move(view));
}

std::size_t AppendView(Glb& glb, const std::string& bytes, ViewTarget target, std::size_t stride = 0) {
  const std::size_t view = BeginView(glb, bytes.size(), target, stride);
  glb.binary.append(std::span<const char>(bytes));
  return view;
}

Json FloatAccessor(std::size_t view, std::size_t count, const char* type) {
  return {{"bufferView", view}, {"componentType", kFloat}, {"count", count}, {"type", type}};
}

/// The least and the largest value of each of an accessor's components.
template <class Number>
void AddBounds(Json& accessor, std::span<const Number> values, std::size_t components) {
  Json least = Json::array(), most = Json::array();
  for (std::size_t c = 0; c < components; ++c) {
    Number lowest = values[c], highest = values[c];
    for (std::size_t v = c; v < values.size(); v += components) {
      lowest = std::min(lowest, values[v]);
      highest = std::max(highest, values[v]);
    }
    if constexpr (std::is_floating_point_v<Number>) {
      least.push_back(static_cast<double>(lowest)); // reads back to the same float
      most.push_back(static_cast<double>(highest));
    } else {
      least.push_back(lowest);
      most.push_back(highest);
    }
  }
  accessor["min"] = std::move(least);
  accessor["max"] = std::move(most);
}

std::vector<int> Pack(std::span<const float> values, Packed packed) {
  const double steps = packed == Packed::Byte ? 127 : 32767;
  std::vector<int> integers;
  integers.reserve(values.size());
  for (const float value : values)
    integers.push_back(
        static_cast<int>(std::floor(std::clamp(static_cast<double>(value), -1.0, 1.0) * steps + 0.5)));
  return integers;
}

int SizeOf(Packed packed) { return packed == Packed::Byte ? 1 : 2; }

Json PackedAccessor(std::size_t count, Packed packed) {
  return {
      {"componentType", static_cast<int>(packed)}, {"normalized", true}, {"count", count}, {"type", "VEC3"}};
}

} // namespace

std::size_t AppendTo(Glb& glb, const char* key, Json element) {
  Json& list = glb.json[key];
  list.push_back(std::move(element));
  return list.size() - 1;
}

std::size_t AppendFloats(Glb& glb, std::span<const float> values, ElementType type, Bounds bounds,
                         ViewTarget target) {
  const auto [name, size] = NameOf(type);
  std::string bytes;
  bytes.reserve(4 * values.size());
  for (const float value : values) AppendNumber(bytes, std::bit_cast<std::uint32_t>(value), 4);
  Json accessor = FloatAccessor(AppendView(glb, bytes, target), values.size() / size, name);
  if (bounds == Bounds::With) AddBounds(accessor, values, size);
  return AppendTo(glb, "accessors", std::move(accessor));
}

std::size_t AppendRows(Glb& glb, std::size_t rows, std::size_t row_size, ElementType type,
                       const std::function<void(std::size_t row, std::span<float> values)>& fill) {
  const auto [name, size] = NameOf(type);
  const std::size_t view = BeginView(glb, 4 * rows * row_size, ViewTarget::None);
  std::vector<float> values(row_size);
  std::string bytes;
  for (std::size_t row = 0; row < rows; ++row) {
    fill(row, values);
    bytes.clear();
    for (const float value : values) AppendNumber(bytes, std::bit_cast<std::uint32_t>(value), 4);
    glb.binary.append(std::span<const char>(bytes));
  }
  return AppendTo(glb, "accessors", FloatAccessor(view, rows * row_size / size, name));
}

std::size_t AppendIndices(Glb& glb, std::span<const std::uint16_t> indices) {
  std::string bytes;
  bytes.reserve(2 * indices.size());
  for (const std::uint16_t index : indices) AppendNumber(bytes, index, 2);
  return AppendTo(glb, "accessors",
                  {{"bufferView", AppendView(glb, bytes, ViewTarget::Indices)},
                   {"componentType", kUnsignedShort},
                   {"count", indices.size()},
                   {"type", "SCALAR"}});
}

std::size_t AppendPacked(Glb& glb, std::span<const float> values, Packed packed, Bounds bounds) {
  const std::vector<int> integers = Pack(values, packed);
  const std::size_t stride = packed == Packed::Byte ? 4 : 8; // vertex data is aligned to four bytes
  std::string bytes;
  for (std::size_t i = 0; i < integers.size(); ++i) {
    AppendNumber(bytes, static_cast<std::uint32_t>(integers[i]), SizeOf(packed));
    if (i % 3 == 2) bytes.resize((bytes.size() + stride - 1) / stride * stride);
  }
  Json accessor = PackedAccessor(values.size() / 3, packed);
  accessor["bufferView"] = AppendView(glb, bytes, ViewTarget::Vertices, stride);
  if (bounds == Bounds::With) AddBounds<int>(accessor, integers, 3);
  return AppendTo(glb, "accessors", std::move(accessor));
}

std::size_t AppendColours(Glb& glb, std::span<const std::uint8_t> rgba) {
  const std::string bytes(rgba.begin(), rgba.end());
  return AppendTo(glb, "accessors",
                  {{"bufferView", AppendView(glb, bytes, ViewTarget::Vertices)},
                   {"componentType", kUnsignedByte},
                   {"normalized", true},
                   {"count", rgba.size() / 4},
                   {"type", "VEC4"}});
}

SparseIndices AppendSparseIndices(Glb& glb, std::vector<std::uint16_t> indices) {
  if (indices.empty()) return {};
  std::string bytes;
  for (const std::uint16_t index : indices) AppendNumber(bytes, index, 2);
  return {AppendView(glb, bytes, ViewTarget::None), std::move(indices)};
}

std::size_t AppendSparse(Glb& glb, std::span<const float> values, const SparseIndices& elements,
                         Packed packed, Bounds bounds) {
  std::vector<int> integers = Pack(values, packed);
  Json accessor = PackedAccessor(values.size() / 3, packed);
  std::string bytes;
  std::vector<int> all(integers.size(), 0);
  for (const std::uint16_t element : elements.indices)
    for (std::size_t i = 3 * std::size_t{element}; i < 3 * std::size_t{element} + 3; ++i) {
      all[i] = integers[i];
      AppendNumber(bytes, static_cast<std::uint32_t>(integers[i]), SizeOf(packed));
    }
  if (bounds == Bounds::With) AddBounds<int>(accessor, all, 3);
  if (!elements.indices.empty())
    accessor["sparse"] = {{"count", elements.indices.size()},
                          {"indices", {{"bufferView", elements.view}, {"componentType", kUnsignedShort}}},
                          {"values", {{"bufferView", AppendView(glb, bytes, ViewTarget::None)}}}};
  return AppendTo(glb, "accessors", std::move(accessor));
}

void CheckAppendable(const Glb& glb) {
  const JsonAt root(glb);
  for (const char* list : {"accessors", "bufferViews", "animations"}) root.ElementsOf(list);

  const std::vector<JsonAt> buffers = root.ElementsOf("buffers");
  if (glb.binary.empty() || buffers.empty())
    throw InputError(Code::Missing, glb.file, "", "the head's data is not in this file", kOneFile);
  if (const auto uri = buffers[0].Find("uri"))
    uri->Fail(Code::Unsupported, "the head's data is not in this file", kOneFile);
  const JsonAt length = buffers[0].At("byteLength");
  const Json& bytes = length.Value();
  if (!bytes.is_number_integer() || bytes < 0 || bytes.get<std::size_t>() > glb.binary.size())
    length.Fail(Code::Contradiction,
                fmt::format("this is not a length within the {} bytes that the file has for the buffer",
                            glb.binary.size()),
                kOneFile);
}

std::optional<Note> NoteOnFilesBeside(const Glb& glb) {
  std::vector<std::string> files;
  for (const char* list : {"buffers", "images"})
    for (const JsonAt& object : JsonAt(glb).ElementsOf(list))
      if (const auto uri = object.Find("uri"))
        if (const std::string file = uri->String(); !file.starts_with("data:")) files.push_back(file);
  if (files.empty()) return std::nullopt;
  return Note{Code::Missing, "",
              fmt::format("the head refers to {} beside it: keep {} beside the output too", SomeQuoted(files),
                          files.size() == 1 ? "it" : "them")};
}

} // namespace mien
