#pragma once

// The sum of define states as others have it ready-made: a product of a matrix, a column per template, and the vector
// of their weights.

namespace benchmarks {

/// `matrix` is column-major, with `stride` numbers from one column to the next. That is the faster layout for each of
/// these; a row of 23 for each shape takes Eigen up to four times as long.
using MatrixVector = void(double* result, const double* matrix, int rows, int columns, int stride,
                          const double* vector);

MatrixVector EigenMatrixVector; ///< Compiled as all the rest is, for every 64-bit x86 processor.

#if defined(MIEN_BENCHMARKS_NATIVE)
/// The same source, compiled with -march=native. It lives in a shared library that shows nothing else, so that no
/// inline function of either form is linked into the other.
[[gnu::visibility("default")]] MatrixVector NativeEigenMatrixVector;
#endif

} // namespace benchmarks
