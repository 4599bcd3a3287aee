#pragma once

#include "host/takes/take.h"
#include "host/view/view_page.h"
#include "mien/base/geometry.h"

namespace mien {

/// The markers of a take, moved by `to_page` (rotation and translation), without parts and a neutral face.
ViewMarkers MarkersOf(const Take& take, const VgeAMatrix& to_page);

/// The gaps of all markers, marker by marker.
std::vector<ViewSpan> GapSpansOf(const Take& take);

/// What a page says about a take itself: frames, rate, markers, what the reader noticed.
ViewFacts FactsOf(const Take& take);

/// A take as it is, in its own axes, turned so that y is up where these are known. Without curves.
ViewSide SideOfTake(const Take& take);

/// A page of this one side with the take's clock.
ViewPage PageOf(const Take& take, ViewSide side);

} // namespace mien
