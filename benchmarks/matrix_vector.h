#pragma once

// The sum of define states as other libraries offer it: the product of a matrix, with a column per template,
// and the vector of their weights.

namespace benchmarks {

/// `matrix` is column-major, with `stride` numbers from one column to the next. This is the faster layout for
/// all of them; with a row of 23 for each shape, Eigen takes up to four times as long.
using MatrixVector = void(double* result, const double* matrix, int rows, int columns, int stride,
                          const double* vector);

MatrixVector EigenMatrixVector; ///< Compiled like everything else, for any 64-bit x86 processor.

/// The same with the weights of many frames, `frames` vectors one after the other; so are the results.
using MatrixMatrix = void(double* results, const double* matrix, int rows, int columns, int stride,
                          const double* vectors, int frames);

MatrixMatrix EigenMatrixMatrix;

#if defined(MIEN_BENCHMARKS_NATIVE)
/// The same source, compiled with -march=native. It is in a shared library that exports nothing else, so that
/// no inline function of either form is linked into the other.
[[gnu::visibility("default")]] MatrixVector NativeEigenMatrixVector;
[[gnu::visibility("default")]] MatrixMatrix NativeEigenMatrixMatrix;
#endif

} // namespace benchmarks
