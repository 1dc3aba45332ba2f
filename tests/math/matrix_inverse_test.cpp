#include "math/matrix_inverse.h"
#include "vectors.h"

namespace {

using MatrixInverse::Matrix;

int Load(const std::vector<std::vector<double>>& rows, Matrix& matrix) {
    for (std::size_t i = 0; i < rows.size(); ++i) std::copy(rows[i].begin(), rows[i].end(), &matrix[i][0]);
    return static_cast<int>(rows.size());
}

TEST(MatrixInverse, InvertsTheDocumentedMatrices) {
    const auto cases = Vectors::Cases("inverse");
    ASSERT_FALSE(cases.empty());
    for (const auto& c : cases) {
        SCOPED_TRACE(c["id"].get<std::string>());
        Matrix matrix = {}, inverse = {}, want = {};
        const int n = Load(c["in"]["matrix"], matrix);
        const double tolerance = c.contains("tol") ? c["tol"]["rel"].get<double>() : 1E-12;
        const double determinant = c["out"]["det"];
        EXPECT_PRED3(Vectors::Near, MatrixInverse::Invert(matrix, inverse, n), determinant, tolerance);
        Load(c["out"][determinant == 0.0 ? "half_done" : "inverse"], want);
        double largest = 0.0;
        for (const auto& row : want)
            for (const double value : row) largest = std::max(largest, std::fabs(value));
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j)
                EXPECT_NEAR(inverse[i][j], want[i][j], tolerance * largest) << i << "," << j;
    }
}

TEST(MatrixInverse, WorksInPlaceAtFullWidthAndRefusesMore) {
    constexpr int n = MatrixInverse::MaxSize;
    Matrix a = {}, original = {};
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) original[i][j] = a[i][j] = i == j ? 0.1 * i : 1.0 / (1 + i + j);
    EXPECT_NE(MatrixInverse::Invert(a, a, n), 0.0);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            double product = 0.0;
            for (int k = 0; k < n; ++k) product += original[i][k] * a[k][j];
            EXPECT_NEAR(product, i == j ? 1.0 : 0.0, 1E-9);
        }
    const double before = a[0][0];
    for (const int size : {-1, 0, n + 1}) EXPECT_EQ(MatrixInverse::Invert(original, a, size), 0.0) << size;
    EXPECT_EQ(a[0][0], before);
}

}
