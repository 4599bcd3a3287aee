#include "host/formats/input_rate.h"

#include <fmt/format.h>

namespace mien {

FrameRate InputRate(const std::optional<FrameRate>& named, const std::string& missing,
                    std::vector<Note>& notes) {
  if (named) return *named;
  constexpr FrameRate kUsual = {30, 1}; // of video cameras
  notes.push_back(
      {Code::Assumed, "", fmt::format("{}; taken as {} Hz (--input-rate)", missing, ToText(kUsual))});
  return kUsual;
}

void RefuseInputRate(const std::optional<FrameRate>& named, const std::string& file) {
  if (named)
    throw InputError(Code::Usage, file, "", "the file has times or a rate of its own",
                     "leave out --input-rate, which is for files without");
}

} // namespace mien
