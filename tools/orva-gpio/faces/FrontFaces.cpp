// The front light and the power LED.
#include "LedFaces.h"
#include "orva_gpio_utils/LedFace.h"
#include "orva_gpio_utils/LedPower.h"

namespace orva::tool {
namespace {

const FaceRegistration kFront{{"front", "front light (PWM backlight 0..99)",
                               [](Context&) -> std::unique_ptr<BaseLed> { return std::make_unique<LedFace>(); },
                               nullptr, {}, nullptr}};
const FaceRegistration kPower{{"power", "power LED (no board has one)",
                               [](Context&) -> std::unique_ptr<BaseLed> { return std::make_unique<LedPower>(); },
                               nullptr, {}, nullptr}};

}  // namespace
}  // namespace orva::tool
