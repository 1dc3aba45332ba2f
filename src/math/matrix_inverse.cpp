#include "math/matrix_inverse.h"

#include <cmath>

namespace MatrixInverse {

namespace {

// Rows first and second change places; the one that arrives at second is negated, which keeps the
// determinant.
void SwapRows(Matrix& a, int first, int second, int size) {
    for (int column = 0; column < size; ++column) {
        const double held = -a[first][column];
        a[first][column] = a[second][column];
        a[second][column] = held;
    }
}

void SwapColumns(Matrix& a, int first, int second, int size) {
    for (int row = 0; row < size; ++row) {
        const double held = -a[row][first];
        a[row][first] = a[row][second];
        a[row][second] = held;
    }
}

struct Place {
    int Row, Column;
};

// Only a strictly larger element replaces the one on the diagonal.
Place LargestFrom(const Matrix& a, int stage, int size) {
    Place best = {stage, stage};
    for (int row = stage; row < size; ++row)
        for (int column = stage; column < size; ++column)
            if (std::fabs(a[row][column]) > std::fabs(a[best.Row][best.Column])) best = {row, column};
    return best;
}

void Eliminate(Matrix& a, int stage, int size) {
    const double pivot = a[stage][stage];
    for (int row = 0; row < size; ++row)
        if (row != stage) a[row][stage] /= -pivot;
    for (int row = 0; row < size; ++row)
        for (int column = 0; column < size; ++column)
            if (row != stage && column != stage) a[row][column] += a[row][stage] * a[stage][column];
    for (int column = 0; column < size; ++column)
        if (column != stage) a[stage][column] /= pivot;
    a[stage][stage] = 1.0 / pivot;
}

}

double Invert(const Matrix& matrix, Matrix& inverse, int size) {
    if (size < 1 || size > MaxSize) return 0.0;
    if (&matrix != &inverse)
        for (int row = 0; row < size; ++row)
            for (int column = 0; column < size; ++column) inverse[row][column] = matrix[row][column];

    double determinant = 1.0;
    Place swapped[MaxSize];
    for (int stage = 0; stage < size; ++stage) {
        const Place largest = LargestFrom(inverse, stage, size);
        swapped[stage] = largest;
        if (largest.Row > stage) SwapRows(inverse, stage, largest.Row, size);
        if (largest.Column > stage) SwapColumns(inverse, stage, largest.Column, size);
        const double pivot = inverse[stage][stage];
        if (pivot == 0.0) return 0.0;
        Eliminate(inverse, stage, size);
        determinant *= pivot;
    }

    // A swap of rows in the matrix is one of columns in its inverse, and the sign goes the other way round.
    for (int stage = size - 2; stage >= 0; --stage) {
        if (swapped[stage].Row > stage) SwapColumns(inverse, swapped[stage].Row, stage, size);
        if (swapped[stage].Column > stage) SwapRows(inverse, swapped[stage].Column, stage, size);
    }
    return determinant;
}

}
