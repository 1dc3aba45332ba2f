// Inversion of small square matrices: Gauss-Jordan elimination with full pivoting.
// The normal equations of the fits are solved with it, so its order of operations is part of their results.
#pragma once

namespace MatrixInverse {

// Rows are this wide whatever part of them is in use; size counts the rows and columns in use.
inline constexpr int MaxSize = 26;
using Matrix = double[MaxSize][MaxSize];

// Inverts the upper left size-by-size corner of matrix into inverse and returns the determinant.
// A pivot of exactly 0 ends the work: the determinant is then 0.0 and inverse is left half done, with its
// rows and columns still swapped. A size outside of 1 to MaxSize returns 0.0 and touches nothing.
// matrix and inverse may be the same. Non-finite elements spread, they never trap.
double Invert(const Matrix& matrix, Matrix& inverse, int size);

}
