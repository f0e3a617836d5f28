#include "orva_gpio_utils/RingButton.h"

#include "platform/CameraInfoLookup.h"

namespace {
constexpr uint32_t kRingButtonBoard = 0xA575;
}  // namespace

RingButton::RingButton() = default;
RingButton::~RingButton() = default;

bool RingButton::exists() const { return orva::gpioutils::boardId() == kRingButtonBoard; }

std::string RingButton::getProcEntry() const { return "/proc/gpio/ring_btn"; }
