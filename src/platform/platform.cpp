#include "platform/platform.h"

#include "platform/headless/headless.h"

namespace Platform {

HookTable Hooks;

namespace {
const Operations* InUse = nullptr;
}

const Operations& Ops() {
    return InUse != nullptr ? *InUse : Headless::Operations();
}

void Use(const Operations& operations) {
    InUse = &operations;
}

}
