#include "orva_gpio_utils/ResetGPIOButtonCase.h"

#include "platform/CameraInfoLookup.h"

namespace {
using orva::gpioutils::getCameraInfoValue;

// Boards whose later hardware revisions no longer wire the reset button to the GPIO: the button
// exists only below the given revision.
struct RevisionLimit {
    uint32_t sysid;
    unsigned long long firstRevisionWithout;
};
constexpr RevisionLimit kRevisionLimits[] = {
    {0xA551, 34},
    {0xA554, 9},
};
}  // namespace

ResetGPIOButtonCase::ResetGPIOButtonCase() = default;
ResetGPIOButtonCase::~ResetGPIOButtonCase() = default;

bool ResetGPIOButtonCase::exists() const {
    const uint32_t board = orva::gpioutils::boardId();
    for (const RevisionLimit& limit : kRevisionLimits) {
        if (board == limit.sysid) return getCameraInfoValue<unsigned long long>("hwrev") < limit.firstRevisionWithout;
    }
    return true;
}

std::string ResetGPIOButtonCase::getProcEntry() const { return "/proc/gpio/reset_btn"; }
