#pragma once

/// Of a mouth that was opened all the way, measured by an object that was constructed before main.
extern double opening_before_main;

/// Likewise the width of the default mouth volume of a performer, in reference-face units.
extern double mouth_width_before_main;

/// Both measured now.
double MeasureOpening();
double MeasureMouthWidth();
