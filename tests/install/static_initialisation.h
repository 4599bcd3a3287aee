#pragma once

/// The opening of a fully opened mouth, measured by an object that is constructed before main.
extern double opening_before_main;

/// The width of a performer's default mouth volume, in reference-face units, measured in the same way.
extern double mouth_width_before_main;

/// Measure both now.
double MeasureOpening();
double MeasureMouthWidth();
