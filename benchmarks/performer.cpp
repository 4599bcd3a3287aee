#include "benchmarks/performer.h"

#include <cmath>
#include <random>
#include <string>

namespace benchmarks {
namespace {

/// A marker is near one of the points that its group drives.
struct Place {
  int group, point;
};

const std::vector<Place> kMouthPlaces = {{0, 0}, {0, 0}, {1, 1}, {1, 1}, {1, 2}, {1, 2}, {2, 5}, {2, 5},
                                         {2, 4}, {2, 4}, {3, 3}, {3, 3}, {4, 6}, {4, 6}, {4, 6}};
const std::vector<Place> kBrowPlaces = {{0, 1}, {0, 1}, {0, 2}, {1, 0}, {1, 0}};
const std::vector<Place> kEyePlaces = {{0, 1}, {0, 1}, {1, 3}, {1, 3}};
const std::vector<Place> kCheekPlaces = {{0, 0}, {0, 0}, {0, 1}, {0, 1}};
const std::vector<Place> kNostrilPlaces = {{0, 0}, {0, 0}};

const std::vector<Place>& PlacesOn(int part) {
  const std::vector<Place>* const places[9] = {&kMouthPlaces, &kBrowPlaces,    &kBrowPlaces,
                                               &kEyePlaces,   &kEyePlaces,     &kCheekPlaces,
                                               &kCheekPlaces, &kNostrilPlaces, &kNostrilPlaces};
  return *places[part];
}

/// On the forehead, the temples and the ears, in head space.
constexpr double kHeadMarkerPlaces[kHeadMarkers][3] = {
    {0, 160, 190}, {-65, 140, 160}, {65, 140, 160}, {-80, 90, 40}, {80, 90, 40}};

constexpr double kMillimetresPerUnit = 10; // the default face is in centimetres

/// 0 to 1 and back, `cycles` times in the take, smoothly.
double Wave(int frame, int cycles, double phase) {
  const double turns = static_cast<double>(frame) * cycles / kFrames + phase;
  const double t = std::fabs(2 * (turns - std::floor(turns)) - 1);
  return t * t * (3 - 2 * t);
}

double Between(std::minstd_rand& engine, double low, double high) {
  return low + (high - low) * (static_cast<double>(engine()) / static_cast<double>(engine.max()));
}

/// Template j of the part rises and falls with its own period.
double Activation(int frame, int part, int j) {
  return Wave(frame, 1 + (part + j) % 4, 0.13 * part + 0.29 * j);
}

/// A rotation by up to about 14 degrees about each axis, from a quaternion that is not normalised.
void TurnHead(int frame, double (&rotation)[3][3]) {
  const double x = 0.24 * (Wave(frame, 2, 0.1) - 0.5), y = 0.24 * (Wave(frame, 1, 0.4) - 0.5),
               z = 0.24 * (Wave(frame, 3, 0.7) - 0.5);
  const double s = 2 / (1 + x * x + y * y + z * z);
  const double columns[3][3] = {{1 - s * (y * y + z * z), s * (x * y + z), s * (x * z - y)},
                                {s * (x * y - z), 1 - s * (x * x + z * z), s * (y * z + x)},
                                {s * (x * z + y), s * (y * z - x), 1 - s * (x * x + y * y)}};
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) rotation[column][row] = columns[column][row];
}

VgeTVector ToTake(const double (&rotation)[3][3], const double (&translation)[3], const VgeTVector& p) {
  double moved[3];
  for (int row = 0; row < 3; ++row)
    moved[row] = rotation[0][row] * p.x + rotation[1][row] * p.y + rotation[2][row] * p.z + translation[row];
  return {moved[0], moved[1], moved[2]};
}

} // namespace

Performer::Performer() {
  PlaceMarkers();
  SetUp();
  for (int frame = 0; frame < kFrames; ++frame) {
    Move(frame);
    actor.ReferenceFromRBMarker(&frames[frame], &reference);
    actor.Actor2FaceSolve(&faces[frame], &frames[frame]);
    GetGlobalFace()->Face2TemplateSolve(&weights[frame], &faces[frame]);

    const double a = 0.2 + 0.4 * Wave(frame, 1, 0.3), b = 0.1 + 0.2 * Wave(frame, 2, 0.6);
    blends[frame] = {{a, b, 1 - a - b}};
    for (int k = 0; k < kExpressions; ++k)
      expression_weights[frame].mWeights[k] = Wave(frame, 1 + k % 3, 0.1 * k);
  }
  for (const int frame : {0, 1}) {
    faces[kFrames + frame] = faces[frame];
    weights[kFrames + frame] = weights[frame];
  }

  for (int k = 0; k < kExpressions; ++k) {
    const int index = catalogue.CreateExpression(("Expression" + std::to_string(k)).c_str());
    VFaceExpression& expression = *catalogue.mExpressions[index];
    for (int p = 0; p < 9; ++p)
      for (int j = 0; j < catalogue.mParts[p].mTemplates.GetCount(); ++j)
        if ((p + j + k) % 3 == 0) expression.mTemplateState.mParts[p].mWeights[j] = Activation(7 * k, p, j);
  }
}

void Performer::PlaceMarkers() {
  std::minstd_rand engine(1);
  for (int p = 0; p < 9; ++p) {
    const VFacePart& part = GetGlobalFace()->mParts[p];
    for (const Place& place : PlacesOn(p)) {
      auto marker = std::make_unique<VFaceMarker>();
      marker->mIndex = actor.mMarkers.GetCount();
      entries_.push_back(std::make_unique<VActorFacePartMarker>());
      entries_.back()->mMarker = marker.get();
      actor.mParts[p].mGroups[place.group].Add(entries_.back().get());

      // Up to 3 mm from the point, with different positions.
      const VgeTVector& point = part.mDefaultPoints[place.point];
      const auto beside = [&](double centre, double scale, double coordinate) {
        return kMillimetresPerUnit * (centre + scale * coordinate) + Between(engine, -3, 3);
      };
      const double x = beside(part.mCenter.x, part.mScale.x, point.x);
      const double y = beside(part.mCenter.y, part.mScale.y, point.y);
      const double z = beside(part.mCenter.z, part.mScale.z, point.z);
      reference.mPositions[marker->mIndex] = {x, y, z};
      actor.mMarkers.Add(marker.release());
    }
  }
  for (int r = 0; r < kHeadMarkers; ++r) {
    reference.mRBPositions[r] = {kHeadMarkerPlaces[r][0], kHeadMarkerPlaces[r][1], kHeadMarkerPlaces[r][2]};
    reference.mRBPresent[r] = true;
  }
}

void Performer::SetUp() {
  actor.SetupFindVolumes(&reference);
  actor.SetupMarkerLocalFromGlobalPosition(&reference);
  actor.SetupComputeNormalisedPosition();
  actor.SetupResetWeights();
  actor.SetupComputeWeights();
  actor.SetupRBMarkers(&reference);
  actor.SetupRBTPI(&reference);
}

// Each marker moves with the templates like the point near it; then the head moves, and every
// position gets noise like a measurement.
void Performer::Move(int frame) {
  std::minstd_rand engine(static_cast<unsigned>(frame) + 2);
  const auto tremble = [&engine](VgeTVector& p) {
    for (double* const coordinate : {&p.x, &p.y, &p.z}) *coordinate += Between(engine, -0.1, 0.1);
  };
  double rotation[3][3];
  TurnHead(frame, rotation);
  const double translation[3] = {60 * Wave(frame, 1, 0.2), 1500 + 40 * Wave(frame, 2, 0.5),
                                 80 * Wave(frame, 1, 0.8)};

  VFaceMarkerSetState& set = frames[frame];
  int slot = 0;
  for (int p = 0; p < 9; ++p) {
    const VFacePart& part = GetGlobalFace()->mParts[p];
    for (const Place& place : PlacesOn(p)) {
      VgeTVector position = reference.mPositions[slot];
      const VgeTVector& rest = part.mDefaultPoints[place.point];
      for (int j = 0; j < part.mTemplates.GetCount(); ++j) {
        const double amount = kMillimetresPerUnit * Activation(frame, p, j);
        const VgeTVector& pose = part.mTemplates[j]->mPoints[place.point];
        position.x += amount * part.mScale.x * (pose.x - rest.x);
        position.y += amount * part.mScale.y * (pose.y - rest.y);
        position.z += amount * part.mScale.z * (pose.z - rest.z);
      }
      tremble(position);
      set.mPositions[slot++] = ToTake(rotation, translation, position);
    }
  }
  for (int r = 0; r < kHeadMarkers; ++r) {
    VgeTVector position = reference.mRBPositions[r];
    tremble(position);
    set.mRBPositions[r] = ToTake(rotation, translation, position);
    set.mRBPresent[r] = true;
  }
}

} // namespace benchmarks
