#pragma once

#include "host/live/live_face.h"
#include "host/stream/live_job.h"

#include <cstddef>
#include <map>
#include <memory>
#include <string>

namespace mien {

/// What the faces of a stream are solved with. The constructor reads all files, once.
class FaceSetups {
public:
  /// Throws InputError for files that cannot be read.
  explicit FaceSetups(const LiveJob& job);

  /// The setup for a face of this source. `performer` is an index of LiveJob::performers; a setting of the
  /// source itself takes precedence. Throws InputError if no performer is known for the markers.
  LiveSetup Of(const StreamSource& from, const LiveSource& face, std::size_t performer) const;

private:
  void Read(const std::string& performer, const std::string& character);

  const LiveJob& job_;
  LiveSetup common_;
  bool needs_shapes_ = false;                                          // a sink cannot send templates
  std::map<std::string, std::shared_ptr<const Performer>> performers_; // by their names or paths
  std::map<std::string, std::shared_ptr<const Character>> characters_;
};

} // namespace mien
