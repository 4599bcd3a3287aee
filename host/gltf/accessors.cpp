#include "host/gltf/accessors.h"

#include "host/base/error.h"
#include "host/base/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <string_view>

namespace mien {

namespace {

constexpr std::string_view kExportAgain = "export the head again";
constexpr std::string_view kOneFile = "export it again as one .glb, without compression of meshes";

/// A length, an offset or a count.
std::size_t SizeOf(const JsonAt& value) {
  const JsonAt::Json& json = value.Value();
  if (!json.is_number_integer() || json < 0)
    value.Fail(Code::InvalidValue, "this is not a whole number from 0 on", kExportAgain);
  return json.get<std::size_t>();
}

std::size_t SizeOf(const JsonAt& object, const char* key, std::size_t otherwise) {
  const auto value = object.Find(key);
  return value ? SizeOf(*value) : otherwise;
}

/// The type of a component, with glTF's numbers.
struct Component {
  std::size_t type; // 5120 to 5126
  bool normalised;

  std::size_t Size() const { return type < 5122 ? 1 : type < 5124 ? 2 : 4; }

  double Read(const char* bytes) const {
    std::uint32_t bits = 0;
    for (std::size_t i = Size(); i-- > 0;) bits = bits << 8 | static_cast<unsigned char>(bytes[i]);
    const auto of = [this](double value, double most) {
      return normalised ? std::max(value / most, -1.0) : value;
    };
    switch (type) {
    case 5120:
      return of(static_cast<double>(static_cast<std::int8_t>(bits)), 127);
    case 5121:
      return of(static_cast<double>(bits), 255);
    case 5122:
      return of(static_cast<double>(static_cast<std::int16_t>(bits)), 32767);
    case 5123:
      return of(static_cast<double>(bits), 65535);
    case 5125:
      return static_cast<double>(bits);
    default:
      return static_cast<double>(std::bit_cast<float>(bits));
    }
  }
};

Component ComponentOf(const JsonAt& owner, bool normalised) {
  const JsonAt type = owner.At("componentType");
  const std::size_t number = SizeOf(type);
  if (number < 5120 || number > 5126 || number == 5124)
    type.Fail(Code::InvalidValue, "this is not the number of a component type", kExportAgain);
  return {number, normalised};
}

std::string_view TypeOf(std::size_t components) {
  switch (components) {
  case 1:
    return "SCALAR";
  case 3:
    return "VEC3";
  case 4:
    return "VEC4";
  default:
    return "MAT4";
  }
}

} // namespace

Accessors::Accessors(const Glb& glb)
    : glb_(glb), accessors_(JsonAt(glb).ElementsOf("accessors")),
      views_(JsonAt(glb).ElementsOf("bufferViews")) {}

const JsonAt& Accessors::At(const JsonAt& index) const {
  return accessors_[index.Index(accessors_.size(), "accessors")];
}

std::size_t Accessors::Count(const JsonAt& index) const { return SizeOf(At(index).At("count")); }

Accessors::Elements Accessors::ElementsIn(const JsonAt& owner, std::size_t count, std::size_t size,
                                          bool interleaved) const {
  const JsonAt& view = views_[owner.At("bufferView").Index(views_.size(), "buffer views")];
  const std::vector<JsonAt> buffers = JsonAt(glb_).ElementsOf("buffers");
  const JsonAt buffer = view.At("buffer");
  if (const std::size_t which = buffer.Index(buffers.size(), "buffers");
      which != 0 || buffers[0].Find("uri") || glb_.binary.empty())
    buffer.Fail(Code::Unsupported, "the data is not in this file, or is compressed", kOneFile);
  const std::size_t start = SizeOf(view, "byteOffset", 0), length = SizeOf(view.At("byteLength"));
  if (start > glb_.binary.size() || length > glb_.binary.size() - start)
    view.Fail(Code::Contradiction,
              fmt::format("this view ends behind the {} bytes that the file has", glb_.binary.size()),
              kExportAgain);
  const std::size_t offset = SizeOf(owner, "byteOffset", 0);
  const std::size_t stride = interleaved ? SizeOf(view, "byteStride", size) : size;
  if (stride < size) view.Fail(Code::Contradiction, "elements overlap in this view", kExportAgain);
  if (count == 0) return {glb_.binary.data(), stride};
  if (offset > length || size > length - offset || count - 1 > (length - offset - size) / stride)
    owner.Fail(Code::Contradiction,
               fmt::format("{} of {} bytes do not fit into the {} bytes of the buffer view",
                           mien::Count(count, "element"), size, length),
               kExportAgain);
  return {glb_.binary.data() + start + offset, stride};
}

/// The elements that a sparse accessor replaces.
void Accessors::Overwrite(std::vector<double>& numbers, const JsonAt& accessor,
                          std::size_t components) const {
  const auto sparse = accessor.Find("sparse");
  if (!sparse) return;
  const Component component = ComponentOf(accessor, false);
  const JsonAt indices = sparse->At("indices"), values = sparse->At("values");
  const Component index = ComponentOf(indices, false);
  const std::size_t count = SizeOf(sparse->At("count")), size = components * component.Size();
  const Elements at = ElementsIn(indices, count, index.Size(), false);
  const Elements to = ElementsIn(values, count, size, false);
  const bool normalised = accessor.Find("normalized") && accessor.At("normalized").Value() == true;
  const std::size_t elements = numbers.size() / components;
  for (std::size_t i = 0; i < count; ++i) {
    const double element = index.Read(at.first + i * at.stride);
    if (!(element >= 0) || element >= static_cast<double>(elements))
      indices.Fail(Code::InvalidValue, fmt::format("index {} of these is not that of an element", i),
                   kExportAgain);
    for (std::size_t c = 0; c < components; ++c)
      numbers[static_cast<std::size_t>(element) * components + c] =
          Component{component.type, normalised}.Read(to.first + i * to.stride + c * component.Size());
  }
}

std::vector<double> Accessors::Numbers(const JsonAt& index, std::size_t components,
                                       std::optional<std::size_t> count) const {
  const JsonAt& accessor = At(index);
  if (accessor.At("type").String() != TypeOf(components))
    accessor.At("type").Fail(Code::InvalidValue, fmt::format("this is not {}", TypeOf(components)),
                             kExportAgain);
  const std::size_t elements = SizeOf(accessor.At("count"));
  if (count && elements != *count)
    accessor.Fail(Code::Contradiction,
                  fmt::format("this has {}, and the mesh {}", mien::Count(elements, "element"), *count),
                  kExportAgain);
  const bool normalised = accessor.Find("normalized") && accessor.At("normalized").Value() == true;
  const Component component = ComponentOf(accessor, normalised);
  std::vector<double> numbers;
  if (accessor.Find("bufferView")) {
    const Elements at = ElementsIn(accessor, elements, components * component.Size(), true);
    numbers.reserve(elements * components);
    for (std::size_t e = 0; e < elements; ++e)
      for (std::size_t c = 0; c < components; ++c)
        numbers.push_back(component.Read(at.first + e * at.stride + c * component.Size()));
  } else {
    if (!count) accessor.Fail(Code::Unsupported, "the data is not in this file, or is compressed", kOneFile);
    numbers.assign(elements * components, 0.0);
  }
  Overwrite(numbers, accessor, components);
  for (std::size_t n = 0; n < numbers.size(); ++n)
    if (!std::isfinite(numbers[n]))
      accessor.Fail(Code::InvalidValue, fmt::format("element {} is not finite", n / components),
                    kExportAgain);
  return numbers;
}

} // namespace mien
