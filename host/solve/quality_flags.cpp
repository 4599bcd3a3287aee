#include "host/solve/quality_flags.h"

#include <fmt/format.h>

#include <algorithm>

namespace mien {

std::string_view ToText(FlagKind kind) {
  switch (kind) {
  case FlagKind::Swap:
    return "swap";
  case FlagKind::Mislabel:
    return "mislabel";
  case FlagKind::Jump:
    return "jump";
  case FlagKind::Limit:
    break;
  }
  return "limit";
}

std::string StatementOf(const QualityFlag& flag) {
  switch (flag.kind) {
  case FlagKind::Swap:
    return fmt::format("{} and {} are swapped", flag.markers[0], flag.markers[1]);
  case FlagKind::Mislabel:
    return fmt::format("{} is where {} belongs", flag.markers[0], flag.markers[1]);
  case FlagKind::Jump:
    return fmt::format("{} jumps", flag.weight);
  case FlagKind::Limit:
    break;
  }
  return fmt::format("{} stays at its limit", flag.weight);
}

QualityFlags::QualityFlags(std::initializer_list<QualityFlag> flags) {
  for (const QualityFlag& flag : flags) push_back(flag);
}

std::uint32_t QualityFlags::NameOf(const std::string& name) {
  const auto [found, is_new] = by_name_.try_emplace(name, static_cast<std::uint32_t>(names_.size()));
  if (is_new) names_.push_back(name);
  return found->second;
}

void QualityFlags::push_back(const QualityFlag& flag) {
  Stored stored = {.size = flag.size,
                   .first = flag.first,
                   .last = flag.last,
                   .weight = flag.weight.empty() ? kNoName : NameOf(flag.weight),
                   .markers = {kNoName, kNoName},
                   .part = static_cast<std::uint8_t>(flag.part),
                   .kind = flag.kind};
  for (std::size_t m = 0; m < flag.markers.size(); ++m) stored.markers[m] = NameOf(flag.markers[m]);
  flags_.push_back(stored);
}

QualityFlag QualityFlags::operator[](std::size_t i) const {
  const Stored& stored = flags_[i];
  QualityFlag flag = {.kind = stored.kind,
                      .part = stored.part,
                      .weight = stored.weight == kNoName ? "" : names_[stored.weight],
                      .markers = {},
                      .first = stored.first,
                      .last = stored.last,
                      .size = stored.size};
  for (const std::uint32_t marker : stored.markers)
    if (marker != kNoName) flag.markers.push_back(names_[marker]);
  return flag;
}

QualityFlags::Iterator QualityFlags::begin() const { return {*this, 0}; }
QualityFlags::Iterator QualityFlags::end() const { return {*this, size()}; }

bool operator==(const QualityFlags& a, const QualityFlags& b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin());
}

} // namespace mien
