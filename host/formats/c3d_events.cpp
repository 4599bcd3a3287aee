#include "host/formats/c3d_events.h"

#include "host/base/utf8.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace mien::c3d {
namespace {

struct Events {
  std::vector<TakeEvent> list;
  std::size_t lost = 0; // those with a time that is not finite

  void Add(double time, std::string label) {
    if (!std::isfinite(time)) {
      ++lost;
      return;
    }
    if (!IsUtf8(label)) label = FromLatin1(label);
    list.push_back({time, std::move(label)});
  }
};

void ReadGroup(const Parameters& parameters, Events& events, std::vector<Note>& notes) {
  const std::size_t used = parameters.Count("EVENT", "USED").value_or(0);
  const std::vector<double> times = parameters.Numbers("EVENT", "TIMES"); // minutes, seconds, minutes ...
  const std::vector<std::string> labels = parameters.Texts("EVENT", "LABELS");
  const std::vector<std::string> contexts = parameters.Texts("EVENT", "CONTEXTS");
  if (times.size() / 2 < used) {
    notes.push_back(
        {Code::Missing, "",
         fmt::format("EVENT:TIMES has {} numbers instead of two for each of {} events, which are ignored",
                     times.size(), used)});
    return;
  }
  for (std::size_t i = 0; i < used; ++i) {
    std::string label = i < contexts.size() ? contexts[i] : "";
    if (i < labels.size() && !labels[i].empty()) label += (label.empty() ? "" : " ") + labels[i];
    events.Add(times[2 * i] * 60 + times[2 * i + 1], std::move(label));
  }
}

void ReadHeaderEvents(const Header& header, const FrameRate& rate, double first_time, Events& events,
                      std::vector<Note>& notes) {
  constexpr std::size_t kKeyWord = 150, kCountWord = 151, kFirstTimeWord = 153, kFirstLabelWord = 199,
                        kMost = 18;
  const std::size_t count = header.Word(kKeyWord) == kEventKey ? header.Word(kCountWord) : 0;
  if (count > kMost)
    notes.push_back({Code::InvalidValue, "",
                     fmt::format("the header declares {} events and has room for {}", count, kMost)});
  const std::size_t from_group = events.list.size();
  for (std::size_t i = 0; i < std::min(count, kMost); ++i) {
    const double time = first_time + header.Real(kFirstTimeWord + 2 * i);
    const auto end = events.list.begin() + static_cast<std::ptrdiff_t>(from_group);
    const bool again = std::any_of(events.list.begin(), end, [&](const TakeEvent& event) {
      return std::abs(event.time - time) <= rate.Seconds(1) / 2;
    });
    if (again) continue;
    std::string_view label = header.bytes.substr(2 * (kFirstLabelWord - 1) + 4 * i, 4);
    label = label.substr(0, label.find('\0'));
    const std::size_t first = std::min(label.find_first_not_of(' '), label.size());
    events.Add(time, std::string(label.substr(first, label.find_last_not_of(' ') + 1 - first)));
  }
}

} // namespace

std::vector<TakeEvent> ReadEvents(const Header& header, const Parameters& parameters, const FrameRate& rate,
                                  double first_time, std::vector<Note>& notes) {
  Events events;
  ReadGroup(parameters, events, notes);
  ReadHeaderEvents(header, rate, first_time, events, notes);
  std::stable_sort(events.list.begin(), events.list.end(),
                   [](const TakeEvent& a, const TakeEvent& b) { return a.time < b.time; });
  if (events.lost > 0)
    notes.push_back(
        {Code::InvalidValue, "",
         fmt::format("events with a time that is not a number, which are ignored: {}", events.lost)});
  return std::move(events.list);
}

} // namespace mien::c3d
