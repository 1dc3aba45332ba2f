// Downhill simplex as a resumable state machine: Nelder and Mead's moves (Comput. J. 7, 308, 1965) on a
// starting simplex after Spendley, Hext and Himsworth (Technometrics 4, 441, 1962).
//
// It never calls the function that it minimises. Each step takes the residual of the point in hand and
// hands back the next point to evaluate, so that the caller can draw, count and stop between any two.
//
//     Simplex::State state;
//     if (!Simplex::SimplexInit(state, n, step)) return;
//     while (...) Simplex::SimplexStep(state, vector, ResidualOf(vector));
//
// Two moves differ from the textbook, and fits depend on them: an expansion is compared with the best vertex
// before the reflection, so one that is worse than the reflection can still replace it; and a reflection
// that only equals the best residual is expanded.
#pragma once
#include <cstdint>
#include <span>

namespace Simplex {

inline constexpr int MaxVertices = 20;
inline constexpr int MaxDim = MaxVertices - 1; // n parameters need n+1 vertices

using Vector = double[MaxVertices];

// What Work is when its residual comes in.
enum class Step : std::int32_t { First = 1, Building, Reflected, Expanded, Contracted, Shrinking };

struct State {
    std::int32_t Dim = 0;
    Vector Vertices[MaxVertices] = {}; // the first Dim+1 are used
    Vector Residuals = {};
    std::int32_t High = 0, Low = 0; // worst and best vertex
    Vector Centroid = {};           // mean of all vertices except High
    Vector Work = {};               // the point in hand
    std::int32_t Current = 0;       // the vertex that Work is or is to be
    std::int32_t Counter = 0;
    Step StepState = Step::First;
    bool CycleDone = false;  // the last call ended a full cycle of moves
    double P = 0.0, Q = 0.0; // offsets of the starting simplex, relative to the parameters
    double Alpha = -1.0;     // weight of the centroid in an expansion
};

// Starts anew for n parameters, 1 to MaxDim; false otherwise. The step is the relative size of the starting
// simplex; one that is not at or above 1E-8 becomes 0.1.
[[nodiscard]] bool SimplexInit(State& state, int n, double step);

// Takes the residual of the vector and replaces the vector by the next point to evaluate.
// The vector holds at least Dim entries. A residual that is not a number is never the better one.
void SimplexStep(State& state, std::span<double> vector, double residual);

// The worst residual lies within epsilon of the best one, relative to the best. Only at the end of a cycle;
// false while the best residual is 0.
[[nodiscard]] bool SimplexConverged(const State& state, double epsilon);

// The same by the plain difference of the two residuals.
[[nodiscard]] bool SimplexConvergedAbs(const State& state, double epsilon);

// Mean of all Dim+1 vertices.
void SimplexCentroid(const State& state, std::span<double> vector);

}
