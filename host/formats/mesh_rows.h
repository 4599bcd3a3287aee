#pragma once

#include "host/formats/csv.h"
#include "host/formats/csv_faces.h"
#include "host/formats/csv_frames.h"
#include "host/formats/csv_gaps.h"
#include "host/takes/far_positions.h"
#include "host/takes/frame_times.h"
#include "host/takes/take.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace mien {

/// The rows of a table of face landmarks, and the take that they become: of several faces one, without a last row
/// that is cut short.
struct MeshRows {
  CsvReader& csv;
  Take& take;
  CsvFaces faces;
  CsvFrames frames;
  CsvGaps gaps = {};     ///< what a row notes
  FarPositions far = {}; ///< the same

  MeshRows(CsvReader& reader, const FrameColumns& columns, const std::optional<std::size_t>& face_column,
           const std::optional<std::int64_t>& face_id, const std::optional<FrameRate>& input_rate, Take& read)
      : csv(reader), take(read), faces(reader, face_column, face_id), frames(reader, columns, input_rate) {}

  /// Calls `read_row` for each row of the face, then sets the take's rate and adds the notes. Throws InputError.
  template <class ReadRow>
  void Read(const ReadRow& read_row) {
    while (csv.Next()) {
      try {
        if (faces.IsChosen(csv)) read_row();
      } catch (const InputError&) {
        if (!frames.LeaveOutIfCut(csv, take)) throw;
      }
    }
    faces.Check(csv);
    csv.Finish(take.notes);
    faces.AppendTo(take.notes, csv);
    gaps.AppendTo(take.notes);
    far.AppendTo(take.notes);
    frames.Finish(csv, take, kFastestVideoHz);
  }
};

} // namespace mien
