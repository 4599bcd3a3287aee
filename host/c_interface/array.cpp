#include "host/c_interface/array.h"

#include "host/c_interface/struct_size.h"

namespace mien {

namespace {

mien_array View(const void* data, mien_type type, std::initializer_list<ArrayAxis> axes) {
  mien_array view = {};
  view.type = type;
  std::size_t elements = 1;
  for (const ArrayAxis& axis : axes) {
    view.shape[view.dimensions] = axis.count;
    view.strides[view.dimensions++] = static_cast<std::ptrdiff_t>(axis.stride);
    elements *= axis.count;
  }
  view.data = elements > 0 ? data : nullptr;
  return view;
}

} // namespace

mien_array ViewOf(const double* data, std::initializer_list<ArrayAxis> axes) {
  return View(data, MIEN_DOUBLE, axes);
}
mien_array ViewOf(const std::int64_t* data, std::initializer_list<ArrayAxis> axes) {
  return View(data, MIEN_INT64, axes);
}
mien_array ViewOf(const std::uint8_t* data, std::initializer_list<ArrayAxis> axes) {
  return View(data, MIEN_UINT8, axes);
}

void GiveArray(mien_array* out, const mien_array& view) {
  if (FillStruct(out, view) != MIEN_OK)
    throw UsageError("array", "this is NULL, or its struct_size is not set");
}

} // namespace mien
