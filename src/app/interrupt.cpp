#include "app/interrupt.h"

#include <csignal>

namespace Interrupt {

namespace {

volatile std::sig_atomic_t Flag = 0;

void OnInterrupt(int) {
    Flag = 1;
    std::signal(SIGINT, SIG_DFL);
}

}

bool Requested() {
    return Flag != 0;
}

Guard::Guard() {
    Flag = 0;
    std::signal(SIGINT, OnInterrupt);
    std::signal(SIGTERM, OnInterrupt);
}

Guard::~Guard() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
}

}
