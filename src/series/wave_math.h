// Arithmetic with waves: one operation on all values of an axis, the buffer with the preview wave,
// histograms. Flagged points are computed with like the others. On the Y axis of the buffer wave the
// accumulated waves are taken along.
#pragma once
#include "series/wave_store.h"

#include <string_view>

namespace SGFit {

enum class AxisKind : std::uint8_t { X, Y };

// An operation as its menu and the macros name it.
struct OperationName {
    std::string_view Menu, Macro;
};

// The values of Store.MathOp.
enum class MathKind : std::uint8_t {
    Abs,
    Inverse,
    Square,
    Sqrt,
    Ln,
    Log10,
    Exp,
    AddConst, // with MathConst
    SubConst,
    MulConst,
    DivConst,
    AddValue, // with entry MathValue of Setup.Settings.Protocol.Values
    SubValue,
    MulValue,
    DivValue,
    EventCorrection, // intervals of flagged events are added to the one before; preview wave only
};
inline constexpr int MathKinds = 16;
[[nodiscard]] OperationName NameOfMath(std::uint8_t mathOp);

// "Enter X-Constant: " where the selected operation needs one that the user is to be asked for first, with
// MathConst as the default; empty elsewhere.
[[nodiscard]] std::string ConstantPrompt(const Store& store, AxisKind axis);
// The macro's argument: the operation's name, with the number behind it that it computes with.
[[nodiscard]] std::string MathArgument(const Store& store);

// MathOp on the active wave. False, with nothing changed, for an empty wave; and for an event correction
// whose first point is flagged, since there is no event before it.
[[nodiscard]] bool MathWave(Store& store, AxisKind axis);

// The values of Store.MathBufferOp.
enum class WaveKind : std::uint8_t { Add, Sub, Mul, Div, Histogram };
inline constexpr int WaveKinds = 5;
[[nodiscard]] OperationName NameOfWaveOperation(std::uint8_t mathBufferOp);

// MathBufferOp on the buffer wave with the values of the preview wave. False, with nothing changed, without a
// preview wave, or when the sizes differ; a histogram may have any sizes.
//
// The histogram of the preview's values of the axis goes into the buffer wave. Its bins start at LeftEdge and
// are BinSize wide (Setup.Settings.FitParams); values up to one bin left of the edge count in the first.
// With SelectRange on, only points whose other axis lies between LowerRange and UpperRange count.
[[nodiscard]] bool MathBuffer(Store& store, AxisKind axis);

// Shifts or divides the values of an axis by its extreme among the points that count. A normalised axis
// loses its unit. MathOp and MathConst stay as they were.
enum class Extreme : std::uint8_t { Min, Max };
[[nodiscard]] bool ZeroTo(Store& store, AxisKind axis, Extreme extreme);
[[nodiscard]] bool NormalizeTo(Store& store, AxisKind axis, Extreme extreme);

}
