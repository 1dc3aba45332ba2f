// How the formula of each model is drawn, for the rows of the models. The first line is open already.
#pragma once

namespace Fit {

struct Formula;

void DrawParsed(const void* record, Formula& formula);
void DrawPolynomial(const void* record, Formula& formula);
void DrawRegressions(const void* record, Formula& formula);
void DrawExponential(const void* record, Formula& formula);
void DrawHodgkinHuxley(const void* record, Formula& formula);
void DrawGaussian(const void* record, Formula& formula);
void DrawGenExponential(const void* record, Formula& formula);
void DrawBoltzmann(const void* record, Formula& formula);
void DrawDoseResponse(const void* record, Formula& formula);
void DrawCurrentVoltage(const void* record, Formula& formula);
void DrawSpectrum(const void* record, Formula& formula);

}
