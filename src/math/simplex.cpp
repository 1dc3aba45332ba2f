#include "math/simplex.h"

#include <cassert>
#include <cmath>
#include <cstddef>

namespace Simplex {

namespace {

// Written with these digits since the first release; results depend on them.
constexpr double Root2 = 1.414213;
constexpr double SmallestStep = 1E-8;
constexpr double DefaultStep = 0.1;

void Copy(const Vector& from, Vector& to, int n) {
    for (int j = 0; j < n; ++j) to[j] = from[j];
}

// Offsets the first vertex by fractions of the point in hand. From the second vertex on that point is the
// vertex built before, so a simplex is not regular, scales with the parameters, and keeps a zero at zero.
void BuildVertex(State& state, int i) {
    Vector& vertex = state.Vertices[i];
    for (int j = 0; j < state.Dim; ++j) vertex[j] = state.Vertices[0][j] + state.Q * state.Work[j];
    vertex[i - 1] = state.Vertices[0][i - 1] + state.P * state.Work[i - 1];
}

void HalveTowardsLow(State& state, int i) {
    for (int j = 0; j < state.Dim; ++j)
        state.Vertices[i][j] = (state.Vertices[i][j] + state.Vertices[state.Low][j]) * 0.5;
}

// Makes vertex i the point in hand.
void TakeVertex(State& state, int i, Step step) {
    state.Current = i;
    Copy(state.Vertices[i], state.Work, state.Dim);
    state.StepState = step;
}

// Searches from the old indices: on ties High goes to the last, Low stays at the first.
void FindHighAndLow(State& state) {
    for (int i = 0; i <= state.Dim; ++i) {
        if (state.Residuals[i] < state.Residuals[state.Low]) state.Low = i;
        if (state.Residuals[i] >= state.Residuals[state.High]) state.High = i;
    }
}

void Reflect(State& state) {
    FindHighAndLow(state);
    for (int j = 0; j < state.Dim; ++j) {
        double sum = 0.0;
        for (int i = 0; i <= state.Dim; ++i)
            if (i != state.High) sum += state.Vertices[i][j];
        state.Centroid[j] = sum / state.Dim;
        state.Work[j] = (state.Centroid[j] - state.Vertices[state.High][j]) * 1.0 + state.Centroid[j];
    }
    state.StepState = Step::Reflected;
}

void NewCycle(State& state) {
    Reflect(state);
    state.CycleDone = true;
}

void Replace(State& state, double residual) {
    Copy(state.Work, state.Vertices[state.High], state.Dim);
    state.Residuals[state.High] = residual;
}

void AfterBuilding(State& state, double residual) {
    state.Residuals[state.Current] = residual;
    ++state.Counter;
    if (state.Counter > state.Dim) {
        state.High = state.Low = 0;
        Reflect(state);
        return;
    }
    BuildVertex(state, state.Counter);
    TakeVertex(state, state.Counter, Step::Building);
}

void AfterReflection(State& state, double residual) {
    const Vector& high = state.Vertices[state.High];
    if (residual <= state.Residuals[state.Low]) {
        Replace(state, residual);
        for (int j = 0; j < state.Dim; ++j) state.Work[j] = 2.0 * high[j] + state.Alpha * state.Centroid[j];
        state.StepState = Step::Expanded;
    } else if (residual >= state.Residuals[state.High]) {
        for (int j = 0; j < state.Dim; ++j) state.Work[j] = 0.5 * high[j] + 0.5 * state.Centroid[j];
        state.StepState = Step::Contracted;
    } else {
        Replace(state, residual);
        NewCycle(state);
    }
}

void AfterContraction(State& state, double residual) {
    if (residual < state.Residuals[state.High]) {
        Replace(state, residual);
        NewCycle(state);
        return;
    }
    state.Counter = 0;
    HalveTowardsLow(state, 0);
    TakeVertex(state, 0, Step::Shrinking);
}

// The best vertex is evaluated again too, although halving moves it onto itself.
void AfterShrinking(State& state, double residual) {
    state.Residuals[state.Counter] = residual;
    ++state.Counter;
    if (state.Counter > state.Dim) {
        NewCycle(state);
        return;
    }
    HalveTowardsLow(state, state.Counter);
    TakeVertex(state, state.Counter, Step::Shrinking);
}

}

bool SimplexInit(State& state, int n, double step) {
    if (n < 1 || n > MaxDim) return false;
    state = {};
    state.Dim = n;
    if (!(step >= SmallestStep)) step = DefaultStep;
    const double root = std::sqrt(n + 1.0);
    state.Q = (root - 1.0) * step / (n * Root2);
    state.P = (root + n - 1.0) * step / (n * Root2);
    return true;
}

void SimplexStep(State& state, std::span<double> vector, double residual) {
    assert(vector.size() >= static_cast<std::size_t>(state.Dim));
    for (int j = 0; j < state.Dim; ++j) state.Work[j] = vector[static_cast<std::size_t>(j)];
    state.CycleDone = false;
    switch (state.StepState) {
    case Step::First:
        Copy(state.Work, state.Vertices[0], state.Dim);
        state.Residuals[0] = residual;
        state.Counter = 1;
        BuildVertex(state, 1);
        TakeVertex(state, 1, Step::Building);
        break;
    case Step::Building: AfterBuilding(state, residual); break;
    case Step::Reflected: AfterReflection(state, residual); break;
    case Step::Expanded:
        if (residual < state.Residuals[state.Low]) Replace(state, residual);
        NewCycle(state);
        break;
    case Step::Contracted: AfterContraction(state, residual); break;
    case Step::Shrinking: AfterShrinking(state, residual); break;
    default: NewCycle(state); break;
    }
    for (int j = 0; j < state.Dim; ++j) vector[static_cast<std::size_t>(j)] = state.Work[j];
}

bool SimplexConverged(const State& state, double epsilon) {
    if (!state.CycleDone) return false;
    const double best = state.Residuals[state.Low];
    return std::fabs((state.Residuals[state.High] - best) / best) < epsilon;
}

bool SimplexConvergedAbs(const State& state, double epsilon) {
    return state.CycleDone && std::fabs(state.Residuals[state.High] - state.Residuals[state.Low]) < epsilon;
}

void SimplexCentroid(const State& state, std::span<double> vector) {
    assert(vector.size() >= static_cast<std::size_t>(state.Dim));
    for (int j = 0; j < state.Dim; ++j) {
        double sum = 0.0;
        for (int i = 0; i <= state.Dim; ++i) sum += state.Vertices[i][j];
        vector[static_cast<std::size_t>(j)] = sum / (state.Dim + 1);
    }
}

}
