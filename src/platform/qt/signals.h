// SIGTERM, SIGINT and SIGHUP as an orderly end: the system, a terminal or another user's tool asks for it,
// and nobody may be there to answer a question.
#pragma once
#include "platform/qt/state.h"

namespace QtDesktop {

// Listens from now on. The first signal takes back all questions that are open, turns away those that come
// later, and posts SystemQuit without questions; a second one ends the process at once.
void ListenToSignals();
void StopListening();

}
