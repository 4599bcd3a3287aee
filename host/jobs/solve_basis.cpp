#include "host/jobs/solve_basis.h"

#include "host/base/text.h"
#include "host/files/foreign_file.h"
#include "host/files/read_file.h"
#include "host/files/standard_streams.h"
#include "host/fit/check_basis.h"
#include "host/fit/head_basis.h"
#include "host/fit/head_landmarks.h"
#include "host/jobs/output_place.h"

#include <filesystem>
#include <system_error>

namespace mien {

std::string BasisLandmarks(const SolveJob& job) {
  const std::filesystem::path basis = job.basis;
  if (!job.basis_landmarks.empty() || job.basis.empty() || IsStandardInput(basis) ||
      ToLower(basis.extension().string()) == ".csv")
    return job.basis_landmarks;
  return std::filesystem::path(basis).replace_extension(".landmarks.csv").string();
}

std::optional<ShapeBasis> BasisOf(const SolveJob& job) {
  if (job.basis.empty()) return std::nullopt;
  const std::string bytes = ReadFile(job.basis), file = InputName(job.basis);
  const std::string ending = ToLower(std::filesystem::path(job.basis).extension().string());
  if (!bytes.starts_with("glTF") && ending != ".glb" && ending != ".gltf") {
    if (!job.basis_landmarks.empty())
      throw UsageError("basis-landmarks", "this is for a head; a table of shapes has the landmarks itself");
    RefuseForeignFile(bytes, file, "a head or a table of shapes",
                      "export the head as .glb (glTF 2.0 binary)");
    ShapeBasis basis = ReadShapeBasis(bytes, file);
    CheckBasis(basis);
    return basis;
  }
  const std::string landmarks = BasisLandmarks(job);
  if (landmarks.empty()) throw UsageError("basis-landmarks", "name the table of the head's landmarks");
  const Glb head = ReadGlb(bytes, file);
  if (std::error_code no_file; job.basis_landmarks.empty() && !std::filesystem::exists(landmarks, no_file))
    throw InputError(Code::NotFound, landmarks, "",
                     "this table says where the landmarks are on the head, and is missing",
                     "write it, with the columns landmark,x,y,z, or name another with --basis-landmarks");
  return BasisOfHead(head, ReadHeadLandmarks(ReadFile(landmarks), InputName(landmarks)));
}

} // namespace mien
