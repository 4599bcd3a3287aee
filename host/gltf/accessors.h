#pragma once

#include "host/gltf/glb.h"
#include "host/gltf/json_at.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace mien {

/// Reads the numbers of a GLB's accessors: of any component type, normalised or not, interleaved, sparse. Each
/// function throws InputError where the accessor contradicts itself or its numbers are not in the file.
class Accessors {
public:
  /// The GLB must live on unchanged.
  explicit Accessors(const Glb& glb);

  /// How many elements an accessor has. `index`: what names the accessor, such as the member "POSITION".
  std::size_t Count(const JsonAt& index) const;

  /// The numbers of an accessor, element by element (size: elements x components); finite. `components`: 1, 3,
  /// 4, or 16 for a matrix, column by column; an accessor of other elements is refused, and so is one
  /// without exactly `count` elements, if that is given. Without data, which glTF defines as zeros, `count` must be given: any
  /// number of elements could stand there.
  std::vector<double> Numbers(const JsonAt& index, std::size_t components,
                              std::optional<std::size_t> count = std::nullopt) const;

private:
  /// A run of elements in the file's data.
  struct Elements {
    const char* first;
    std::size_t stride; // bytes
  };
  const JsonAt& At(const JsonAt& index) const;
  Elements ElementsIn(const JsonAt& owner, std::size_t count, std::size_t size, bool interleaved) const;
  void Overwrite(std::vector<double>& numbers, const JsonAt& accessor, std::size_t components) const;

  const Glb& glb_;
  std::vector<JsonAt> accessors_, views_;
};

} // namespace mien
