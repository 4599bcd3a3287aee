#pragma once

#include "host/base/error.h"
#include "host/gltf/glb.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// A value in the JSON of a GLB. What follows a file's own references goes through it: each step throws
/// InputError, with the value's JSON pointer, where the value is not what it should be.
///
/// As small as two pointers, since a file may have millions of values: where a value stands is searched for
/// only when a message needs it.
class JsonAt {
public:
  using Json = nlohmann::ordered_json;

  /// The whole of it. The GLB must live on unchanged.
  explicit JsonAt(const Glb& glb) : json_(&glb.json), glb_(&glb) {}

  /// A member of this object; nothing where it is absent.
  std::optional<JsonAt> Find(const std::string& key) const;

  /// A member of this object.
  JsonAt At(const std::string& key) const;

  /// An element of this array, which has one of this index.
  JsonAt Element(std::size_t index) const;

  /// The elements of this array.
  std::vector<JsonAt> Elements() const;

  /// Those of an array that is a member of this object; none where it is absent.
  std::vector<JsonAt> ElementsOf(const std::string& key) const;

  /// An index into `count` objects. `what` they are, for the message: "meshes".
  std::size_t Index(std::size_t count, std::string_view what) const;

  std::string String() const;

  /// An array of `count` numbers, each finite as a float.
  std::vector<double> Numbers(std::size_t count) const;

  const Json& Value() const { return *json_; }

  /// Throws InputError about this value.
  [[noreturn]] void Fail(Code code, std::string_view what, std::string_view fix) const;

private:
  JsonAt(const JsonAt& parent, const Json& json) : json_(&json), glb_(parent.glb_) {}
  void RequireObject() const;

  const Json* json_;
  const Glb* glb_;
};

} // namespace mien
