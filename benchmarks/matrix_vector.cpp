#include "benchmarks/matrix_vector.h"

#include <Eigen/Dense>

void benchmarks::MATRIX_VECTOR(double* result, const double* matrix, int rows, int columns, int stride,
                               const double* vector) {
  using Stride = Eigen::OuterStride<>;
  const Eigen::Map<const Eigen::MatrixXd, Eigen::Unaligned, Stride> m(matrix, rows, columns, Stride(stride));
  Eigen::Map<Eigen::VectorXd>(result, rows).noalias() =
      m * Eigen::Map<const Eigen::VectorXd>(vector, columns);
}

void benchmarks::MATRIX_MATRIX(double* results, const double* matrix, int rows, int columns, int stride,
                               const double* vectors, int frames) {
  using Stride = Eigen::OuterStride<>;
  const Eigen::Map<const Eigen::MatrixXd, Eigen::Unaligned, Stride> m(matrix, rows, columns, Stride(stride));
  Eigen::Map<Eigen::MatrixXd>(results, rows, frames).noalias() =
      m * Eigen::Map<const Eigen::MatrixXd>(vectors, columns, frames);
}
