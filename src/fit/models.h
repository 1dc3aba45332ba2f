// The models of the program, one row each. A row stands at the end of its model's file.
#pragma once
#include "fit/model.h"

namespace Fit {

extern const ModelRow ParsedModel;      // of a text that the user wrote
extern const ModelRow PolynomialModel;  // direct solve
extern const ModelRow RegressionsModel; // direct solve
extern const ModelRow ExponentialModel; // both directions, by the record's Rising
extern const ModelRow HodgkinHuxleyModel;
extern const ModelRow GaussianModel;
extern const ModelRow GenExponentialModel;
extern const ModelRow BoltzmannModel;
extern const ModelRow DoseResponseModel;
extern const ModelRow CurrentVoltageModel;
extern const ModelRow SpectrumModel;

}
