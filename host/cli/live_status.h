#pragma once

#include "host/base/json_text.h"
#include "host/stream/live_stream.h"

#include <cstddef>
#include <string>

namespace mien {

// The state of a running stream, as text and as JSON.

/// "phone:11111 60.0/s 0.11/0.32 ms 2 dropped, ...": of each face the source, its frames per second, the
/// latency (median, 99th percentile), and what is wrong, if anything; at most `columns` wide.
std::string StatusText(const LiveStream& stream, const LiveJob& job, std::size_t columns);

/// One face in a line, for the summary at the end.
std::string SummaryOf(const StreamedFace& face);

/// The faults of a source and their counts; empty if there are none.
std::string FaultsOf(const StreamedSource& source);

/// For programs:
///
///     { "event": "status",
///       "faces": [{ "source": 1, "face": "Zoe", "rate_hz": 60, "latency_ms": { "median": 0.1, "p99": 0.3 },
///         "received": 600, "used": 598, ... }],
///       "sources": [{ "port": 11111, "packets": 600, "flooded": 0,
///       "faults": { "cut short": 2 } }], "dropped_by_sinks": 0 }
JsonValue StatusAsJson(const LiveStream& stream, const LiveJob& job);

} // namespace mien
